// SPDX-License-Identifier: GPL-2.0-only
// The differences between the tagging operations of two lines.
#pragma once

#include "tool/model/line_diff.h"

namespace gponflow {

/// Appends attributes and rows that differ. Operations of instances that only one line has are left
/// out: the instance differs as a whole.
void compare_tagging(const line_model& left, const line_model& right, line_difference& into);

} // namespace gponflow
