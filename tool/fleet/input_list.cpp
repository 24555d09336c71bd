// SPDX-License-Identifier: GPL-2.0-only
#include "tool/fleet/input_list.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "tool/text/source_text.h"

namespace gponflow {

input_list::input_list(std::vector<std::string> names, const std::string& list)
    : names_(std::move(names)), total_(names_.size())
{
    if (list == "-") {
        claim_standard_input();
        list_ = &std::cin;
        total_.reset();
    } else if (!list.empty()) {
        open(list);
    }
}

// A regular file is read twice: the first time for the number of names only.
void input_list::open(const std::string& list)
{
    std::error_code error;
    if (std::filesystem::is_directory(list, error))
        throw std::runtime_error(list + ": " + std::strerror(EISDIR));
    file_.open(list);
    if (!file_)
        throw std::runtime_error(list + ": " + std::strerror(errno));
    list_ = &file_;
    if (!std::filesystem::is_regular_file(list, error)) {
        total_.reset();
        return;
    }
    for (std::string line; next_line(line);)
        ++*total_;
    file_.clear();
    file_.seekg(0);
}

bool input_list::next_line(std::string& line)
{
    while (std::getline(*list_, line))
        if (!line.empty())
            return true;
    return false;
}

std::optional<std::string> input_list::next()
{
    if (taken_ < names_.size())
        return names_[taken_++];
    std::string line;
    if (!list_ || !next_line(line))
        return {};
    return line;
}

} // namespace gponflow
