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

/// A scenario, or the one that a capture of OMCI messages converts to.
struct opened_line {
    scenario input;
    json origin;          ///< of a capture: its ONU and times; null for a scenario
    bool complete = true; ///< false: an empty scenario, or a capture that ends early or
                          ///< configures nothing
};

/// Reads a line; "-" is standard input. `onu` is the address of one of several ONUs of a capture,
/// or empty. Prints errors and warnings; nothing if the line cannot be used.
[[nodiscard]] std::optional<opened_line> open_line(const std::string& file, const std::string& onu,
                                                   std::ostream& diagnostics);

/// The managed entities after a scenario, or after the commands of a capture.
struct read_model {
    line_model line;
    line_places places;
    bool complete = true; ///< as in opened_line
};

/// Prints errors and warnings; nothing if the line cannot be used.
[[nodiscard]] std::optional<read_model> read_line(const std::string& file, const std::string& onu,
                                                  std::ostream& diagnostics);

} // namespace gponflow
