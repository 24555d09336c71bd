// SPDX-License-Identifier: GPL-2.0-only
// Age and hits of the rules.
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

/// Data of a rule beyond the dump.
struct watched_rule {
    uint64_t since = 0;           ///< tick of learning, or of the first update that had it
    bool from_before = false;     ///< it existed before the first update
    std::optional<uint64_t> hits; ///< replays; nothing where they cannot be counted
    std::optional<double> rate;   ///< hits a unit of time since the update before
};

/// How a table was read.
struct table_reading {
    unsigned load = 0;    ///< of module_reader
    bool changed = false; ///< the table changed while it was read
};

/// Tracks the rule table over updates. Times of updates are in ticks of the caller's clock, ages
/// and rates in units of a number of ticks.
class rule_watch {
public:
    explicit rule_watch(uint64_t ticks_a_unit = 1) : unit_(ticks_a_unit) {}

    /// Takes the current table and drops rules that are not in it. The table of another module
    /// begins anew, with ages and rates of its own.
    void update(const rule_table& table, uint64_t now, table_reading reading = {});

    /// Titles and rules, the rule with most hits first, then the youngest.
    [[nodiscard]] std::vector<std::string> lines(uint64_t now, const std::string& unit) const;

    /// The same as the document gponflow-watch-1 on one line, in the order of the module.
    [[nodiscard]] std::string json_line(uint64_t now, const std::string& unit) const;

    /// Data of each rule. A caller that sees frames updates the counts here.
    std::map<flow_key, watched_rule> rules;

private:
    void begin_anew_if_loaded_again(unsigned load);
    [[nodiscard]] std::string last_line() const;
    [[nodiscard]] uint64_t age(const watched_rule& one, uint64_t now) const
    {
        return (now - one.since) / unit_;
    }

    uint64_t unit_; ///< ticks
    rule_table table_;
    table_reading reading_; ///< of the table
    uint64_t updated_ = 0;
    bool began_ = false;
    uint64_t reloads_ = 0; ///< updates that found another module than the one before
};

struct watched_scenario {
    exit_status status = status_ok;
    std::vector<std::string> lines; ///< after the last command; none without status_ok
};

/// Runs a scenario and counts hits; time is in jiffies. With `as_json` there is one line, a
/// document.
[[nodiscard]] watched_scenario watch_scenario(const scenario& input, backend& target,
                                              std::ostream& diagnostics, bool as_json = false);

} // namespace gponflow
