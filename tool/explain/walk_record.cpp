// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/walk_record.h"

#include <algorithm>
#include <tuple>

namespace gponflow {

std::vector<size_t> deepest_dead_ends(const walk_record& walk)
{
    // A step with a decision is more informative than one without.
    const auto reach = [&](size_t i) {
        const walk_step& step = walk.steps[i];
        return std::tuple(step.failed, step.depth, step.broken_link.has_value(),
                          !step.decisions.empty());
    };
    std::vector<size_t> deepest;
    if (!walk.other_failure.empty())
        return deepest;
    for (size_t i = 0; i < walk.steps.size(); ++i) {
        if (walk.steps[i].dead_end.empty())
            continue;
        if (!deepest.empty() && reach(i) > reach(deepest.front()))
            deepest.clear();
        if (deepest.empty() || reach(i) == reach(deepest.front()))
            deepest.push_back(i);
    }
    return deepest;
}

std::optional<size_t> deepest_dead_end(const walk_record& walk)
{
    const std::vector<size_t> all = deepest_dead_ends(walk);
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::vector<size_t> branch_to(const walk_record& walk, size_t last)
{
    std::vector<size_t> branch = {last};
    for (size_t at = last; at-- > 0;)
        if (walk.steps[at].depth < walk.steps[branch.back()].depth)
            branch.push_back(at);
    std::ranges::reverse(branch);
    return branch;
}

} // namespace gponflow
