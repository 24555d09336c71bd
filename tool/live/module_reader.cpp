// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/module_reader.h"

#include <utility>

namespace gponflow {

rule_table module_reader::table()
{
    const engine_state now = state();
    std::vector<seen_rule> seen = rules();
    rule_table result{static_cast<unsigned>(seen.size()), now.buckets, now.threshold, {}};
    for (seen_rule& one : seen) {
        one.rule.hits = one.hits;
        one.rule.idle_ms = one.idle;
        result.rules.push_back(std::move(one.rule));
    }
    return result;
}

} // namespace gponflow
