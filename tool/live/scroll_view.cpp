// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/scroll_view.h"

#include <algorithm>

namespace gponflow {

namespace {

constexpr size_t columns_a_step = 8;

std::string part(const std::string& line, size_t from, size_t width)
{
    return from < line.size() ? line.substr(from, width) : std::string();
}

} // namespace

void scroll_view::set(std::vector<std::string> lines)
{
    lines_ = std::move(lines);
    keep_inside();
}

void scroll_view::resize(size_t height, size_t width)
{
    height_ = height;
    width_ = width;
    keep_inside();
}

void scroll_view::go(move direction)
{
    const size_t page = std::max<size_t>(room(), 1);
    switch (direction) {
    case move::up:
        top_ -= std::min<size_t>(top_, 1);
        break;
    case move::down:
        ++top_;
        break;
    case move::page_up:
        top_ -= std::min(top_, page);
        break;
    case move::page_down:
        top_ += page;
        break;
    case move::first:
        top_ = 0;
        break;
    case move::last:
        top_ = lowest_top();
        break;
    case move::left:
        left_ -= std::min(left_, columns_a_step);
        break;
    case move::right:
        left_ += columns_a_step;
        break;
    }
    keep_inside();
}

void scroll_view::keep_inside()
{
    size_t longest = 0;
    for (const std::string& line : lines_)
        longest = std::max(longest, line.size());
    top_ = std::min(top_, lowest_top());
    left_ = std::min(left_, longest > width_ ? longest - width_ : 0);
}

std::string scroll_view::last_line() const
{
    std::string text = lines_.empty() ? std::string() : lines_.back();
    if (rows() > room() && room() > 0)
        text += ", " + std::to_string(top_ + 1) + " to " + std::to_string(top_ + room()) +
                " shown; arrow and page keys scroll";
    return text + "; q quits";
}

std::vector<std::string> scroll_view::visible() const
{
    std::vector<std::string> result;
    if (height_ > 1)
        result.push_back(lines_.size() < 2 ? std::string() : part(lines_.front(), left_, width_));
    for (size_t i = 0; i < room(); ++i)
        result.push_back(top_ + i < rows() ? part(lines_[1 + top_ + i], left_, width_)
                                           : std::string());
    if (height_ > 0)
        result.push_back(part(last_line(), 0, width_));
    return result;
}

} // namespace gponflow
