/* SPDX-License-Identifier: GPL-2.0-only */
/* Parses a format text: one conversion at a time, with its width and values from the arguments. */
#pragma once

#include <cstdarg>
#include <cstdint>

namespace gpon::host {

// Limits of the kernel; a format text that exceeds them is wrong.
inline constexpr int width_max = (1 << 23) - 1;
inline constexpr int precision_max = (1 << 15) - 1;

enum class length { of_char, of_short, of_int, of_long, of_long_long, of_size };

struct conversion {
    bool special = false;
    bool zero_pad = false;
    bool left = false;
    bool plus = false;
    bool blank = false;
    int width = -1;
    int precision = -1;
    length size = length::of_int;
    char kind = 0;
};

// A copy of the caller's va_list that functions can share; va_list may be an array type.
struct argument_list {
    explicit argument_list(va_list from) { va_copy(values, from); }
    ~argument_list() { va_end(values); }
    argument_list(const argument_list&) = delete;
    argument_list& operator=(const argument_list&) = delete;

    va_list values;
};

/* Reads from after the percent sign to the conversion character; text then points to it. */
[[nodiscard]] conversion read_conversion(const char*& text, argument_list& arguments);

/* The next argument as a number of that length, sign extended or not. */
[[nodiscard]] uint64_t signed_argument(length size, argument_list& arguments);
[[nodiscard]] uint64_t unsigned_argument(length size, argument_list& arguments);

} // namespace gpon::host
