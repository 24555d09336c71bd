// SPDX-License-Identifier: GPL-2.0-only
// 802.1p mappers.
#include <algorithm>
#include <utility>
#include <vector>

#include "tool/check/families.h"

namespace gponflow {

namespace {

constexpr uint16_t no_gem_iw = 0xffff;
constexpr unsigned priorities = 8;

// Empty if the priority leads to a GEM IW TP that a walk reaches.
std::string dead_end(const line_model& entities, const me_instance& mapper, uint16_t gem_iw)
{
    const me_id target{me_class::gemiw, gem_iw};
    if (gem_iw == 0 || gem_iw == no_gem_iw)
        return "no GEM IW TP";
    const me_instance* found = entities.find(target);
    if (!found)
        return to_text(target) + " does not exist";
    if (found->records(mapper.id))
        return {};
    const recorded_row* row = found->row_of(me_class::mapper);
    if (row && !row->instances.empty())
        return to_text(target) + " is used by " +
               to_text({me_class::mapper, row->instances.front()});
    return to_text(target) + " was created after the pointer to it";
}

// Priorities with the same reason are reported together.
std::vector<std::pair<std::string, std::string>> dead_ends(const line_model& entities,
                                                           const me_instance& mapper)
{
    const auto me = mapper.as<gpon_raw_mapper>();
    std::vector<std::pair<std::string, std::string>> reasons;
    for (unsigned priority = 0; priority < priorities; ++priority) {
        const std::string why = dead_end(entities, mapper, me.pbit_GemIWTP[priority]);
        if (why.empty())
            continue;
        const auto same =
            std::ranges::find(reasons, why, &std::pair<std::string, std::string>::first);
        if (same == reasons.end())
            reasons.emplace_back(why, std::to_string(priority));
        else
            same->second += ", " + std::to_string(priority);
    }
    return reasons;
}

void check_untagged(const me_instance& mapper, finding_list& found)
{
    const auto me = mapper.as<gpon_raw_mapper>();
    if (me.unmark_frame_opt > 1)
        found.add(mapper, "untagged-dropped",
                  "unmark_frame_opt " + std::to_string(me.unmark_frame_opt) +
                      " does not map untagged frames",
                  "use 0 (by DSCP) or 1 (defaultPbit)");
    else if (me.unmark_frame_opt == 1 && me.defaultPbit >= priorities)
        found.add(mapper, "untagged-dropped",
                  "defaultPbit " + std::to_string(me.defaultPbit) + " is not a priority",
                  "use 0 to 7");
}

} // namespace

void check_mappers(const line_model& entities, finding_list& found)
{
    for (const me_instance& mapper : entities.instances(me_class::mapper)) {
        for (const auto& [why, which] : dead_ends(entities, mapper))
            found.add(mapper, "priority-leads-nowhere", "priority " + which + ": " + why,
                      "set pbit_GemIWTP of these priorities to a GEM IW TP of this mapper; create "
                      "it first");
        check_untagged(mapper, found);
    }
}

} // namespace gponflow
