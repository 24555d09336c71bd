// SPDX-License-Identifier: GPL-2.0-only
// The options that describe a frame and its entry: --uni, --gem, --vlan and so on.
#pragma once

#include <optional>

#include <CLI/CLI.hpp>

#include "tool/explain/frame_query.h"

namespace gponflow {

struct query_options {
    frame_query query;
    std::optional<uint8_t> priority;
    bool tag_has_priority = false; ///< --vlan 300p6
    bool asks = false;             ///< an option of the query was given
};

/// Adds the options to a subcommand that has --pcap already. `into` lives as long as the
/// subcommand.
void add_query_options(CLI::App& sub, query_options& into);

/// After parsing: joins --prio with --vlan. Throws CLI::ValidationError if one is without the
/// other.
void complete(query_options& asked);

} // namespace gponflow
