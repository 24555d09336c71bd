// SPDX-License-Identifier: GPL-2.0-only
// The frames of capture files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "tool/scenario/command.h"
#include "tool/text/diagnostic.h"

namespace gponflow {

/// The first `most` frames of a pcap or pcapng file of Ethernet frames, with the captured bytes of
/// each. The rest of the file is not read. Throws std::runtime_error with the reason.
std::vector<bytes> read_capture(const std::filesystem::path& file, size_t most = SIZE_MAX);

/// Reads the files of all pcap commands into them. Relative paths start at the folder of the
/// scenario file, or at the working directory for a scenario from standard input.
std::vector<diagnostic> read_captures(scenario& into);

} // namespace gponflow
