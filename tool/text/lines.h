// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <algorithm>
#include <string_view>

namespace gponflow {

/// Calls `take` with each line of a text, without its line feed.
template <typename taker> void for_each_line(std::string_view text, taker take)
{
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        take(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

} // namespace gponflow
