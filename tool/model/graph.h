// SPDX-License-Identifier: GPL-2.0-only
// The managed entities of a scenario as a drawing.
#pragma once

#include <iosfwd>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// Writes the graph in the DOT language: a node an instance, of its class's shape and colour, an
/// edge a pointer. What does not exist is red, pointers that the module has not recorded are
/// dashed, tagging operations are dotted to what has their id, and the instances of `walked` and
/// the edges between neighbours of it are bold.
void write_dot(const line_model& what, const std::vector<me_id>& walked, std::ostream& out);

} // namespace gponflow
