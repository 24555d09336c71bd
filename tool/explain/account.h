// SPDX-License-Identifier: GPL-2.0-only
// Counts the frames of a scenario by destination and reason of drop.
#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"
#include "tool/text/exit_status.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// The frames of one direction.
struct direction_account {
    uint64_t frames = 0;
    uint64_t quick = 0;                           ///< replayed a rule
    std::map<std::string, uint64_t> destinations; ///< GEM port and bridge, frames
    std::map<std::string, uint64_t> drops;        ///< tags and deciding entity, frames
    std::map<std::string, uint64_t> untouched;    ///< why they were not classified, frames
    std::set<std::string> notes;                  ///< what other ONUs may do with frames
};

struct frame_account {
    std::array<direction_account, 4> directions; ///< by kind of hook call: 0 to 3
    std::vector<std::string> entry; ///< sentences about the entry of the frames, set by the caller
    std::vector<std::string> notes; ///< what the counts leave out; also in the diagnostics
};

/// Runs the scenario and counts its hook calls. A frame that passes through both calls of its
/// direction is counted in both. Diagnostics as for run_scenario.
[[nodiscard]] exit_status account_scenario(const scenario& input, backend& target,
                                           frame_account& account, std::ostream& diagnostics);

/// Prints the account as text.
void print_account(const frame_account& account, std::ostream& out);

/// The document gponflow-account-1 about a scenario.
[[nodiscard]] json account_json(const frame_account& account, const std::string& file);

} // namespace gponflow
