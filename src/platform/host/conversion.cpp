// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/conversion.h"

#include <algorithm>
#include <cstddef>

namespace gpon::host {
namespace {

void read_flags(const char*& text, conversion& spec)
{
    for (;; ++text) {
        switch (*text) {
        case '-':
            spec.left = true;
            break;
        case '+':
            spec.plus = true;
            break;
        case ' ':
            spec.blank = true;
            break;
        case '#':
            spec.special = true;
            break;
        case '0':
            spec.zero_pad = true;
            break;
        default:
            return;
        }
    }
}

int read_number(const char*& text, int largest)
{
    int number = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        number = std::min(number * 10 + (*text - '0'), largest);
    return number;
}

void read_width(const char*& text, conversion& spec, argument_list& arguments)
{
    if (*text >= '0' && *text <= '9') {
        spec.width = read_number(text, width_max);
    } else if (*text == '*') {
        ++text;
        spec.width = std::clamp(va_arg(arguments.values, int), -width_max, width_max);
        if (spec.width < 0) {
            spec.left = true;
            spec.width = -spec.width;
        }
    }
}

void read_precision(const char*& text, conversion& spec, argument_list& arguments)
{
    if (*text != '.')
        return;
    ++text;
    if (*text >= '0' && *text <= '9') {
        spec.precision = read_number(text, precision_max);
    } else if (*text == '*') {
        ++text;
        spec.precision = std::clamp(va_arg(arguments.values, int), 0, precision_max);
    }
}

length read_length(const char*& text)
{
    const char first = *text;
    if (first != 'h' && first != 'l' && first != 'z')
        return length::of_int;
    ++text;
    if (first == 'z')
        return length::of_size;
    const bool twice = *text == first;
    if (twice)
        ++text;
    if (first == 'h')
        return twice ? length::of_char : length::of_short;
    return twice ? length::of_long_long : length::of_long;
}

} // namespace

conversion read_conversion(const char*& text, argument_list& arguments)
{
    conversion spec;
    read_flags(text, spec);
    read_width(text, spec, arguments);
    read_precision(text, spec, arguments);
    spec.size = read_length(text);
    spec.kind = *text;
    return spec;
}

uint64_t signed_argument(length size, argument_list& arguments)
{
    int64_t value = 0;
    switch (size) {
    case length::of_char:
        value = static_cast<int8_t>(va_arg(arguments.values, int));
        break;
    case length::of_short:
        value = static_cast<short>(va_arg(arguments.values, int));
        break;
    case length::of_int:
        value = va_arg(arguments.values, int);
        break;
    case length::of_long:
        value = va_arg(arguments.values, long);
        break;
    case length::of_long_long:
        value = va_arg(arguments.values, long long);
        break;
    case length::of_size:
        value = va_arg(arguments.values, ptrdiff_t);
        break;
    }
    return static_cast<uint64_t>(value);
}

uint64_t unsigned_argument(length size, argument_list& arguments)
{
    switch (size) {
    case length::of_char:
        return static_cast<unsigned char>(va_arg(arguments.values, int));
    case length::of_short:
        return static_cast<unsigned short>(va_arg(arguments.values, int));
    case length::of_int:
        return va_arg(arguments.values, unsigned int);
    case length::of_long:
        return va_arg(arguments.values, unsigned long);
    case length::of_long_long:
        return va_arg(arguments.values, unsigned long long);
    case length::of_size:
        break;
    }
    return va_arg(arguments.values, size_t);
}

} // namespace gpon::host
