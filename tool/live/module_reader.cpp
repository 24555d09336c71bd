// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/module_reader.h"

#include <utility>

namespace gponflow {

namespace {

constexpr int most_looks = 4;

rule_table table_of(const engine_state& state, std::vector<seen_rule> seen)
{
    rule_table result{static_cast<unsigned>(seen.size()), state.buckets, state.threshold, {}};
    for (seen_rule& one : seen) {
        one.rule.hits = one.hits;
        one.rule.idle_ms = one.idle;
        result.rules.push_back(std::move(one.rule));
    }
    return result;
}

bool is_of(const engine_state& state, const engine_state& other, size_t rules)
{
    return state.rules == rules && other.rules == rules && state.buckets == other.buckets;
}

} // namespace

rule_table module_reader::table()
{
    for (int looks = 1;; ++looks) {
        const engine_state before = state();
        std::vector<seen_rule> seen = rules();
        const engine_state after = state();
        const bool whole = is_of(before, after, seen.size());
        if (!whole && looks < most_looks)
            continue;
        changed_ = changed_ || !whole;
        return table_of(after, std::move(seen));
    }
}

} // namespace gponflow
