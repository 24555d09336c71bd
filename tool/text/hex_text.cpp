// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/hex_text.h"

#include <array>
#include <cstdio>

namespace gponflow {

std::string hex_text(unsigned value, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*x", digits, value);
    return text.data();
}

} // namespace gponflow
