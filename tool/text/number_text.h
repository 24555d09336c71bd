// SPDX-License-Identifier: GPL-2.0-only
// Numbers in the output of the module and of the runner.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace gponflow {

/// The whole text as a number, hexadecimal after 0x; nothing when it is anything else or out of
/// range.
template <typename number> [[nodiscard]] std::optional<number> number_in(std::string_view text)
{
    const bool hex = text.starts_with("0x");
    if (hex)
        text.remove_prefix(2);
    number value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, hex ? 16 : 10);
    if (error != std::errc() || stop != end)
        return {};
    return value;
}

} // namespace gponflow
