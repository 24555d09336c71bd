// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/module_reader.h"

#include <utility>

namespace gponflow {

namespace {

bool is_same_size(const engine_state& left, const engine_state& right)
{
    return left.buckets == right.buckets && left.threshold == right.threshold;
}

rule_table table_of(std::vector<seen_rule> seen, const engine_state& state)
{
    rule_table result{static_cast<unsigned>(seen.size()), state.buckets, state.threshold, {}};
    for (seen_rule& one : seen) {
        one.rule.hits = one.hits;
        one.rule.idle_ms = one.idle;
        result.rules.push_back(std::move(one.rule));
    }
    return result;
}

} // namespace

// The size and the rules come from two requests.
rule_table module_reader::table()
{
    const bool changed_before = changed_;
    engine_state before = state();
    for (int readings = 1;; ++readings) {
        changed_ = changed_before; // without that of a result that is not returned
        const unsigned load = load_number();
        std::vector<seen_rule> seen = rules();
        const engine_state after = state();
        const bool is_whole = is_same_size(before, after) && load == load_number();
        changed_ = changed_ || (!is_whole && readings == most_readings);
        if (is_whole || readings == most_readings)
            return table_of(std::move(seen), after);
        before = after;
    }
}

} // namespace gponflow
