// SPDX-License-Identifier: GPL-2.0-only
// Captures named on a command line.
#pragma once

#include <string>
#include <vector>

#include "tool/scenario/command.h"

namespace gponflow {

/// Each word is "FILE" or "FILE,OPTION=VALUE,...", the options being those of a pcap command; kind
/// is up_ani when it is not among them. The lines include their frames. Throws
/// std::runtime_error with the reason.
std::vector<scenario_line> capture_lines(const std::vector<std::string>& words);

} // namespace gponflow
