// SPDX-License-Identifier: GPL-2.0-only
// Findings and rules for people and as JSON.
#pragma once

#include <iosfwd>
#include <string>

#include "tool/check/check.h"
#include "tool/text/json_document.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// "FILE:LINE: problem: INSTANCE: reason [rule]", the change and, of a capture, the frames, for
/// each finding, and a count.
void print_findings(const check_result& result, const line_places& places, std::ostream& out,
                    const palette& colours = {});

/// The same as the document gponflow-check-1, described in docs/check.md.
[[nodiscard]] json findings_json(const check_result& result, const line_places& places);

/// The name, weight, clause and title of each rule, as a table.
void print_rules(std::ostream& out, const palette& colours = {});

/// One rule with its explanation.
void print_rule(const check_rule& rule, std::ostream& out, const palette& colours = {});

} // namespace gponflow
