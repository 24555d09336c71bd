// SPDX-License-Identifier: GPL-2.0-only
// The options that name captured traffic and its entry: --pcap, --uni, --gem.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/explain/frame_entry.h"

namespace gponflow {

struct traffic_options {
    std::vector<std::string> captures; ///< FILE, or FILE,OPTION=VALUE,...
    frame_entry entry;                 ///< of the captures without options
};

/// Adds --pcap, --uni and --gem. Returns the option --pcap.
CLI::Option* add_traffic_options(CLI::App& sub, traffic_options& into);

/// The captures as pcap commands. Prints warnings. Throws std::runtime_error with the reason if a
/// capture cannot be used, or if an entry is named that no capture needs.
[[nodiscard]] scenario read_traffic(const traffic_options& from, std::ostream& diagnostics);

/// Appends the traffic to a line: an unload at its end is left out then. Captures without options
/// enter at `entry`, or at the only UNI with a bridge port. Returns the sentences about this entry.
/// Throws std::runtime_error with the reason if the line has no such entry, or several UNIs.
[[nodiscard]] std::vector<std::string> append_traffic(const scenario& traffic, frame_entry entry,
                                                      scenario& line);

/// A paragraph of the help about these options.
extern const char* const traffic_help;

} // namespace gponflow
