// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/replay.h"

#include <algorithm>

#include "include/packet_flow.h"
#include "tool/live/flow_key.h"

namespace gponflow {

namespace {

bool fits(const walk_step& logged, me_id step)
{
    return logged.at.class_id == step.class_id &&
           (logged.at.instance == 0 || logged.at.instance == step.instance);
}

bool matches(const walk_story& story, const dumped_rule& rule)
{
    auto next = rule.steps.begin();
    for (const walk_step& logged : story.steps) {
        next = std::find_if(next, rule.steps.end(), [&](me_id step) { return fits(logged, step); });
        if (next == rule.steps.end())
            return false;
        ++next;
    }
    return true;
}

unsigned flag_of(const std::string& direction)
{
    if (direction == "UP_ANI")
        return UP_ANI;
    if (direction == "UP_UNI")
        return UP_UNI;
    return direction == "DOWN_ANI" ? DOWN_ANI : DOWN_UNI;
}

} // namespace

void name_replay(walk_story& story, const dumped_rule& rule)
{
    std::vector<walk_step> named;
    auto logged = story.steps.begin();
    for (const me_id step : rule.steps) {
        walk_step& one = named.emplace_back(walk_step{step, named.size(), true, {}, {}});
        if (logged == story.steps.end() || !fits(*logged, step))
            continue;
        one.decisions = std::move(logged->decisions);
        one.dead_end = std::move(logged->dead_end);
        one.passed = one.dead_end.empty();
        ++logged;
        // A replay ends at the first step that refuses the frame; the frame still passes.
        if (!one.passed)
            break;
    }
    story.steps = std::move(named);
    story.fwd_flag = flag_of(rule.key.direction);
}

void name_replay(walk_story& story, captured_run& runner, const packet_options& options,
                 const bytes& frame)
{
    const auto rules = read_rule_table(runner.query("show flow_rule").value_or(""));
    if (const dumped_rule* rule = rules ? rules->find(key_of(options, frame)) : nullptr)
        name_replay(story, *rule);
}

const dumped_rule* rule_of_replay(const walk_story& story, const std::vector<dumped_rule>& rules)
{
    const auto fitting = [&](const dumped_rule& rule) { return matches(story, rule); };
    const auto found = std::ranges::find_if(rules, fitting);
    if (found == rules.end() || std::find_if(found + 1, rules.end(), fitting) != rules.end())
        return nullptr;
    return &*found;
}

} // namespace gponflow
