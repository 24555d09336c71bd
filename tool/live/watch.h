// SPDX-License-Identifier: GPL-2.0-only
// The rules over time: how long each is known, and how often it was replayed.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tool/live/rule_table.h"
#include "tool/scenario/captured_run.h"

namespace gponflow {

/// What is known of a rule besides what its table says.
struct watched_rule {
    uint64_t since = 0;           ///< when it was learnt, or first seen
    bool from_before = false;     ///< it was there when the watch began: it is older than that
    std::optional<uint64_t> hits; ///< replays; nothing where nobody can count them
};

/// Follows the table from look to look, in any unit of time.
class rule_watch {
public:
    /// Takes over the table as it is now; rules that are gone are forgotten.
    void look(const rule_table& table, uint64_t now);

    /// Titles and rules, the rule with most hits first, then the youngest.
    std::vector<std::string> lines(uint64_t now, const std::string& unit) const;

    /// Of each rule; a caller that sees frames keeps the count here.
    std::map<flow_key, watched_rule> rules;

private:
    rule_table table_;
    bool began_ = false;
};

/// Runs a scenario and counts: a rule's time is in jiffies, its hits are exact. The lines as after
/// the last command.
std::optional<std::vector<std::string>> watch_scenario(const scenario& what, backend& where,
                                                       std::ostream& diagnostics,
                                                       exit_status& status);

} // namespace gponflow
