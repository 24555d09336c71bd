// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/frame_text.h"

#include <algorithm>
#include <cstdio>

namespace gponflow {

std::string hex_dump(const bytes& frame)
{
    constexpr size_t width = 16;
    std::string text;
    for (size_t line = 0; line < frame.size(); line += width) {
        const size_t end = std::min(line + width, frame.size());
        char digits[8];
        std::snprintf(digits, sizeof(digits), "%04zx ", line & 0xffff);
        text += digits;
        for (size_t i = line; i < line + width; ++i) {
            std::snprintf(digits, sizeof(digits), " %02x", i < end ? frame[i] : 0u);
            text += i < end ? digits : "   ";
        }
        text += "  ";
        for (size_t i = line; i < end; ++i)
            text += frame[i] >= 0x20 && frame[i] < 0x7f ? static_cast<char>(frame[i]) : '.';
        text += '\n';
    }
    return text;
}

} // namespace gponflow
