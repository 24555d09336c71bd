// SPDX-License-Identifier: GPL-2.0-only
// The frames of capture files.
#pragma once

#include <string>
#include <vector>

#include "tool/capture/ethernet.h"
#include "tool/scenario/command.h"
#include "tool/text/diagnostic.h"

namespace gponflow {

/// The Ethernet frames among the first `most` frames of a pcap or pcapng file; "-" is standard
/// input. The rest of the file is not read. Throws std::runtime_error with the reason.
[[nodiscard]] ethernet_capture read_capture(const std::string& file, size_t most = SIZE_MAX);

struct capture_diagnostics {
    std::vector<diagnostic> errors;   ///< the capture cannot be used
    std::vector<diagnostic> warnings; ///< a part of it is used
};

/// Reads the files of all pcap commands into them. Relative paths start at the folder of the
/// scenario file, or at the working directory for a scenario from standard input.
[[nodiscard]] capture_diagnostics read_captures(scenario& into);

/// Reads one file into a command. Returns the warnings, adds them to the notes of the scenario, and
/// marks it as incomplete if the capture ends early or has no frame. Throws as read_capture.
[[nodiscard]] std::vector<std::string> fill_capture(pcap_command& command, const std::string& file,
                                                    scenario& owner);

} // namespace gponflow
