// SPDX-License-Identifier: GPL-2.0-only
// Numbers, HEX and name=value options of a scenario line. All functions throw syntax_error.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/scenario/command.h"
#include "tool/scenario/syntax_error.h"
#include "tool/scenario/words.h"

namespace gponflow {

/// A piece of a line to parse, with its name in messages.
struct value {
    std::string_view name;
    std::string_view text;
    size_t column;

    [[noreturn]] void fail(const std::string& why) const;
};

/// Decimal, or hexadecimal after 0x; `least` to `most`.
[[nodiscard]] uint64_t read_unsigned(const value& from, uint64_t most, uint64_t least = 0);

/// The same with an optional minus sign before decimal digits.
[[nodiscard]] int64_t read_signed(const value& from, int64_t least, int64_t most);

/// The whole range of an unsigned field type.
template <typename field> [[nodiscard]] field read_field(const value& from)
{
    return static_cast<field>(read_unsigned(from, std::numeric_limits<field>::max()));
}

/// Whether the text looks like a number rather than a name.
[[nodiscard]] bool looks_like_number(std::string_view text);

/// An even number of hexadecimal digits, ':' or '-' between bytes allowed.
[[nodiscard]] bytes read_hex(const value& from);

/// One option of a command.
struct option_rule {
    std::string_view name;
    std::function<void(const value&)> take;
};

/// Passes each word, which must be name=value, to its rule. A name may appear once. `owner` is the
/// name of the command in messages.
void take_options(std::span<const word> words, std::string_view owner,
                  std::span<const option_rule> rules);

} // namespace gponflow
