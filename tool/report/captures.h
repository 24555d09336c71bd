// SPDX-License-Identifier: GPL-2.0-only
// Captures that a command line names.
#pragma once

#include <string>
#include <vector>

#include "tool/scenario/command.h"

namespace gponflow {

/// Each word is "FILE" or "FILE,OPTION=VALUE,...", the options being those of a pcap command; kind
/// is up_ani when it is not among them. The lines come with their frames. Throws
/// std::runtime_error that says what is wrong.
std::vector<scenario_line> capture_lines(const std::vector<std::string>& words);

} // namespace gponflow
