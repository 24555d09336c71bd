// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/terminal.h"

#include <cstdlib>
#include <iostream>

#include <unistd.h>

namespace gponflow {

std::string palette::paint(std::string_view code, std::string_view text) const
{
    if (!on || text.empty())
        return std::string(text);
    return "\033[" + std::string(code) + "m" + std::string(text) + "\033[0m";
}

palette colours_of(int descriptor)
{
    const char* refused = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool wanted = !refused || *refused == '\0';
    const bool able = terminal && std::string_view(terminal) != "dumb";
    return {wanted && able && isatty(descriptor) == 1};
}

bool finish_output()
{
    if (std::cout.flush())
        return true;
    std::cerr << "gponflow: cannot write to standard output\n";
    return false;
}

} // namespace gponflow
