// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace gponflow {

/// Prints a transcript as the document gponflow-run-1; `file` is the name of the scenario.
void print_transcript_json(std::string_view transcript, const std::string& file, std::ostream& out);

} // namespace gponflow
