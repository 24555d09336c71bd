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

input_list::input_list(std::vector<std::string> names)
    : names_(std::move(names)), total_(names_.size())
{
}

input_list input_list::open(std::vector<std::string> names, const std::string& list)
{
    input_list inputs(std::move(names));
    if (list == "-") {
        claim_standard_input();
        inputs.list_ = &std::cin;
        inputs.total_.reset();
    } else if (!list.empty()) {
        inputs.open_list(list);
    }
    return inputs;
}

// A regular file is read twice: the first time for the number of names only.
void input_list::open_list(const std::string& list)
{
    std::error_code error;
    if (std::filesystem::is_directory(list, error))
        throw std::runtime_error(list + ": " + std::strerror(EISDIR));
    file_ = std::make_unique<std::ifstream>(list);
    if (!*file_)
        throw std::runtime_error(list + ": " + std::strerror(errno));
    list_ = file_.get();
    if (!std::filesystem::is_regular_file(list, error)) {
        total_.reset();
        return;
    }
    while (next_line())
        ++*total_;
    file_->clear();
    file_->seekg(0);
}

std::optional<std::string> input_list::next_line()
{
    for (std::string line; std::getline(*list_, line);)
        if (!line.empty())
            return line;
    return {};
}

std::optional<std::string> input_list::next()
{
    if (taken_ < names_.size())
        return names_[taken_++];
    return list_ ? next_line() : std::nullopt;
}

} // namespace gponflow
