// SPDX-License-Identifier: GPL-2.0-only
// The answer to a question as text and as JSON.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "tool/explain/verdict.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Prints the frame, one sentence with the outcome, the commands of the scenario that wrote the
/// entities at fault, and the path. Branches that the frame did not take are counted by reason.
/// `file` is the name of the scenario.
void print_answer(const line_answer& answer, const scenario& input, std::ostream& out,
                  const palette& colours = {});

/// Prints the document gponflow-explain-1.
void print_answer_json(const line_answer& answer, const std::string& file, std::ostream& out);

/// A frame of a trace.
struct traced_frame {
    uint64_t number; ///< from 1
    const walk_story& story;
    const line_model& entities;
    std::optional<captured_frame> frame; ///< nothing if only the log is known
};

/// Prints the document gponflow-trace-1 on one line.
void print_trace_json(const traced_frame& traced, std::ostream& out);

/// As print_answer_json for a single hook call.
void print_explanation_json(const explanation& explained, const std::string& file,
                            std::ostream& out);

} // namespace gponflow
