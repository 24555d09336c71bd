// SPDX-License-Identifier: GPL-2.0-only
// Findings as text and as JSON.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tool/model/check.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// "FILE:LINE: problem: INSTANCE: reason; change", one per line, and a count.
void print_findings(const std::vector<finding>& all, const std::string& file, std::ostream& out,
                    const palette& colours = {});

/// The same as one JSON object, described in docs/tools.md.
void print_findings_json(const std::vector<finding>& all, const std::string& file,
                         std::ostream& out);

} // namespace gponflow
