// SPDX-License-Identifier: GPL-2.0-only
// Pieces of the reasons of findings.
#pragma once

#include <cstdio>
#include <string>

namespace gponflow {

/// "0x" and at least `digits` digits.
[[nodiscard]] inline std::string hex(unsigned value, int digits)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%0*x", digits, value);
    return text;
}

} // namespace gponflow
