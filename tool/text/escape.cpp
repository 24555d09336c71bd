// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/escape.h"

namespace gponflow {

namespace {

constexpr std::string_view letters = "abtnvfr"; // of the characters 7 to 13

void append_escaped(std::string& to, unsigned char c)
{
    constexpr std::string_view digits = "0123456789abcdef";
    to += '\\';
    if (c >= 7 && c <= 13) {
        to += letters[c - 7];
        return;
    }
    to += 'x';
    to += digits[c >> 4];
    to += digits[c & 15];
}

} // namespace

std::string escape(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7f)
            append_escaped(result, byte);
        else
            result += c;
    }
    return result;
}

} // namespace gponflow
