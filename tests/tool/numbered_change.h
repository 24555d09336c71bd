// SPDX-License-Identifier: GPL-2.0-only
// Changes that differ in their number only.
#pragma once

#include <cstdint>

#include "tool/live/module_records.h"

namespace gponflow {

inline module_change numbered_change(uint32_t number)
{
    module_change change;
    change.about = module_change::subject::table;
    change.change = "grown";
    change.number = number;
    return change;
}

} // namespace gponflow
