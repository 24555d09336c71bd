// SPDX-License-Identifier: GPL-2.0-only
// An explanation as text.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include "tool/explain/explain_frame.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Prints the walk as an indented tree, and what came of it.
void print_explanation(const explanation& what, std::ostream& out, const palette& colours = {});

/// The same of a marked frame that passed by, of which there is the log alone.
void print_marked_frame(const walk_story& story, const mirror& entities, std::ostream& out,
                        const palette& colours = {});

/// "A, B: the reason; C: another one", of those branches. Of many that end for one reason, those
/// beyond `most` are counted, unless it is 0.
std::string dead_ends_text(const walk_story& story, size_t most = 0);

} // namespace gponflow
