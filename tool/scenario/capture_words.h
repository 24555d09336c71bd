// SPDX-License-Identifier: GPL-2.0-only
// Captures named on a command line.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tool/scenario/command.h"

namespace gponflow {

/// Each word is "FILE" or "FILE,OPTION=VALUE,...", the options being those of a pcap command; kind
/// is up_ani when it is not among them, and "-" is standard input. A capture without options gets
/// `whole_path`, and the caller sets its entry. The frames run after the scenario, on the state
/// that it leaves. Prints warnings. Throws std::runtime_error with the reason if a capture cannot
/// be used.
void append_captures(const std::vector<std::string>& words, scenario& into,
                     std::ostream& diagnostics);

} // namespace gponflow
