// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/sentence.h"

#include <algorithm>
#include <set>

#include "tool/explain/explain_output.h"
#include "tool/explain/fault.h"
#include "tool/explain/tagging_entry.h"
#include "tool/report/entity_text.h"

namespace gponflow {

namespace {

std::string id_text(me_id id)
{
    const std::string full = to_text(id);
    return full.substr(full.find(" 0x") + 1);
}

std::string in_words(me_id id, const line_model& entities)
{
    std::string text = kind_text(id.class_id) + " " + id_text(id);
    const me_instance* me = entities.find(id);
    if (me && id.class_id == me_class::vtfd) {
        char operation[8];
        std::snprintf(operation, sizeof(operation), "0x%02x",
                      me->as<gpon_raw_vtfd>().forwardOperation);
        text += " (" + known_by(*me) + ", forward operation " + operation + ")";
    }
    return text;
}

bool filter_decides(const walk_step& step, const line_model& entities)
{
    return step.at.class_id == me_class::mbpcd &&
           step.dead_end.find("VLAN filter") != std::string::npos &&
           entities.find({me_class::vtfd, step.at.instance});
}

me_id decider(const walk_step& step, const line_model& entities)
{
    return filter_decides(step, entities) ? me_id{me_class::vtfd, step.at.instance} : step.at;
}

constexpr size_t most_in_a_sentence = 3;

std::string filters_in_words(const std::vector<me_id>& deciders, const line_model& entities)
{
    std::string text;
    for (size_t i = 0; i < std::min(deciders.size(), most_in_a_sentence); ++i)
        text += (i ? ", " : "") + in_words(deciders[i], entities);
    if (deciders.size() > most_in_a_sentence)
        text += " and " + std::to_string(deciders.size() - most_in_a_sentence) + " more";
    return text;
}

std::string cause(const drop_row& drop)
{
    const explanation& example = drop.example;
    if (!discards_of(example).empty())
        return drop.reason;
    const std::vector<me_id> deciders = deciding_entities(example);
    if (deciders.empty())
        return drop.reason;
    const std::string names = filters_in_words(deciders, example.entities);
    if (deciders.front().class_id == me_class::vtfd)
        return names + (deciders.size() > 1 ? " drop them" : " drops them");
    const std::vector<size_t> ends = deciding_steps(example);
    if (ends.empty() || !example.entities.find(example.walk.steps[ends.front()].at))
        return drop.reason;
    return "the path ends at " + names + ": " + example.walk.steps[ends.front()].dead_end;
}

std::string vlans_in_words(const std::vector<vlan_tag>& tags)
{
    std::string text = "VLAN ";
    for (size_t i = 0; i < tags.size(); ++i)
        text += (i ? ", inside it VLAN " : "") + std::to_string(tags[i].vlan()) +
                " with priority " + std::to_string(tags[i].priority());
    return text;
}

// The cause is about the rewritten tags.
std::string rewritten_in_words(const drop_row& drop)
{
    if (drop.hook_tags == drop.tags)
        return {};
    return ", rewritten to " +
           (drop.hook_tags.empty() ? "untagged" : vlans_in_words(drop.hook_tags)) + " by " +
           rewriters_text(drop.example.tagging.steps) + ",";
}

} // namespace

std::string tags_in_words(const std::vector<vlan_tag>& tags)
{
    return tags.empty() ? "Untagged frames" : "Frames of " + vlans_in_words(tags);
}

std::string drop_sentence(const drop_row& drop)
{
    return tags_in_words(drop.tags) + rewritten_in_words(drop) + " are dropped " +
           direction_title(drop.kind) + ": " + cause(drop) + ".";
}

std::vector<carried_frame> discards_of(const explanation& explained)
{
    if (explained.tagging.discarded)
        return {explained.tagging};
    const std::vector<leaving_frame> leaving = leaving_frames(explained);
    std::vector<carried_frame> discards;
    if (is_discarded(leaving))
        for (const leaving_frame& one : leaving)
            discards.push_back(one.carried);
    return discards;
}

std::vector<size_t> deciding_steps(const explanation& explained)
{
    std::vector<fault> faults;
    if (explained.bridge)
        faults = faults_of(explained.walk, explained.entities, explained.bridge);
    std::vector<size_t> steps;
    for (const fault& one : faults)
        if (one.step)
            steps.push_back(*one.step);
    return faults.empty() ? deepest_dead_ends(explained.walk) : steps;
}

std::vector<me_id> deciding_entities(const explanation& explained)
{
    std::vector<me_id> result;
    for (const carried_frame& discarded : discards_of(explained))
        if (const me_id id = discarded.steps.back().operation;
            std::ranges::find(result, id) == result.end())
            result.push_back(id);
    if (!result.empty())
        return result;
    for (const fault& one : faults_of(explained.walk, explained.entities, explained.bridge))
        if (!one.step)
            result.push_back(one.entity);
    for (const size_t end : deciding_steps(explained)) {
        const me_id id = decider(explained.walk.steps[end], explained.entities);
        if (std::ranges::find(result, id) == result.end())
            result.push_back(id);
    }
    return result;
}

std::pair<explanation, size_t> without_like_branches(const explanation& explained, size_t most)
{
    constexpr size_t most_steps = 40;
    explanation result = explained;
    const walk_record& walk = explained.walk;
    const std::vector<size_t> ends = deepest_dead_ends(walk);
    if (walk.steps.size() <= most_steps)
        return {std::move(result), 0};
    std::set<size_t> kept;
    for (size_t i = 0; i < std::min(most, ends.size()); ++i)
        for (const size_t step : branch_to(walk, ends[i]))
            kept.insert(step);
    result.walk.steps.clear();
    for (const size_t step : kept)
        result.walk.steps.push_back(walk.steps[step]);
    return {std::move(result), ends.size() - std::min(most, ends.size())};
}

} // namespace gponflow
