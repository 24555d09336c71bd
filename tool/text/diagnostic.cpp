// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/diagnostic.h"

namespace gponflow {

std::string diagnostic::text() const
{
    std::string place = file + ":" + std::to_string(line) + ": ";
    if (column != 0)
        place += "column " + std::to_string(column) + ": ";
    return place + message;
}

} // namespace gponflow
