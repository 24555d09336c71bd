// SPDX-License-Identifier: GPL-2.0-only
// An explanation as text.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include "tool/explain/explain_frame.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Prints the walk as an indented tree, and its result.
void print_explanation(const explanation& explained, std::ostream& out,
                       const palette& colours = {});

/// The same for a marked frame of which only the log is known.
void print_marked_frame(const walk_story& story, const line_model& entities, std::ostream& out,
                        const palette& colours = {});

/// "A, B: the reason; C: another one" for the deepest branches. Of branches with the same reason,
/// at most `most` are named and the rest is counted; 0 names all.
std::string dead_ends_text(const walk_story& story, size_t most = 0);

} // namespace gponflow
