// SPDX-License-Identifier: GPL-2.0-only
// A line from a scenario or from a capture of OMCI messages.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "tool/model/line_model.h"
#include "tool/scenario/command.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// Whether a file begins like a pcap or pcapng file. False for "-" and for files that cannot be
/// read.
[[nodiscard]] bool looks_like_capture(const std::string& file);

/// A scenario, or the one that a capture of OMCI messages converts to.
struct opened_line {
    scenario input;
    json origin;          ///< of a capture: its ONU and times; null for a scenario
    bool complete = true; ///< false: an empty scenario, or a capture that ends early or
                          ///< configures nothing
};

/// Reads a line. Prints errors and warnings; nothing if it cannot be used.
[[nodiscard]] std::optional<opened_line> open_line(const std::string& file,
                                                   std::ostream& diagnostics);

/// The managed entities after a scenario, or after the commands of a capture. Prints warnings;
/// throws std::runtime_error with the reason if the input cannot be used.
[[nodiscard]] line_model read_line(const std::string& file, const std::string& onu = {});

} // namespace gponflow
