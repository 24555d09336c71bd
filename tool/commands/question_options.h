// SPDX-License-Identifier: GPL-2.0-only
// The options that describe a frame and its entry: --uni, --gem, --vlan and so on.
#pragma once

#include <optional>

#include <CLI/CLI.hpp>

#include "tool/explain/question.h"

namespace gponflow {

struct question_options {
    frame_question question;
    std::optional<uint8_t> priority;
    bool asks = false; ///< an option of the question was given
};

/// Adds the options to a subcommand that has --pcap already. `into` lives as long as the
/// subcommand.
void add_question_options(CLI::App& sub, question_options& into);

/// After parsing: joins --prio with --vlan. Throws CLI::ValidationError if one is without the
/// other.
void complete(question_options& asked);

} // namespace gponflow
