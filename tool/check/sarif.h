// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <iosfwd>
#include <string>

#include "tool/check/check.h"

namespace gponflow {

/// Findings as a SARIF 2.1.0 log (OASIS Static Analysis Results Interchange Format) of one run, for
/// code review and continuous integration systems. `tool_version` is that of gponflow.
void print_sarif(const check_result& result, const line_places& places,
                 const std::string& tool_version, std::ostream& out);

} // namespace gponflow
