// SPDX-License-Identifier: GPL-2.0-only
// A line from a scenario or from a capture of OMCI messages.
#pragma once

#include <string>

#include "tool/model/line_model.h"

namespace gponflow {

/// Whether a file begins like a pcap or pcapng file. False for "-" and for files that cannot be
/// read.
[[nodiscard]] bool looks_like_capture(const std::string& file);

/// The managed entities after a scenario, or after the commands of a capture. Prints warnings;
/// throws std::runtime_error with the reason if the input cannot be used.
[[nodiscard]] line_model read_line(const std::string& file, const std::string& onu = {});

} // namespace gponflow
