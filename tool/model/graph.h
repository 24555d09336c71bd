// SPDX-License-Identifier: GPL-2.0-only
// The managed entities of a scenario as a drawing.
#pragma once

#include <iosfwd>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// Writes the graph in the DOT language. A node is an instance, with the shape and colour of its
/// class, an edge is a pointer. Missing instances are red, pointers that the module has not
/// recorded are dashed, a dotted edge leads from a tagging operation to the instance that it
/// belongs to, and the instances of `walked` and the edges between its neighbours are bold.
void write_dot(const line_model& entities, const std::vector<me_id>& walked, std::ostream& out);

} // namespace gponflow
