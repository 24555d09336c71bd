// SPDX-License-Identifier: GPL-2.0-only
// The managed entities of a scenario as JSON.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// Prints the document gponflow-graph-1: the instances with their attributes, and the pointers.
void print_graph_json(const line_model& entities, const std::vector<me_id>& walked,
                      const std::string& file, std::ostream& out);

} // namespace gponflow
