// SPDX-License-Identifier: GPL-2.0-only
// The path of a frame through both hook calls as text and as JSON.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "tool/explain/verdict.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Prints the frame, one sentence with the outcome, the commands of the scenario that set the
/// attributes or rows at fault, and the path. Branches that the frame did not take are counted by
/// reason.
void print_path(const frame_path& path, const scenario& input, std::ostream& out,
                const palette& colours = {});

/// Prints the document gponflow-explain-1.
void print_path_json(const frame_path& path, const scenario& input, std::ostream& out);

/// As print_path_json for a single hook call.
void print_explanation_json(const explanation& explained, const scenario& input, std::ostream& out);

} // namespace gponflow
