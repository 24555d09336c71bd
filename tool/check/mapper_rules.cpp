// SPDX-License-Identifier: GPL-2.0-only
// 802.1p mappers.
#include <algorithm>
#include <utility>
#include <vector>

#include "include/mapper_values.h"
#include "include/tci.h"
#include "tool/check/families.h"

namespace gponflow {

namespace {

// Empty if the priority leads to a GEM IW TP that a walk reaches.
std::string dead_end(const line_model& entities, const me_instance& mapper, uint16_t gem_iw)
{
    const me_id target{me_class::gemiw, gem_iw};
    if (gem_iw == 0 || gem_iw == gpon::NO_GEM_IW_TP)
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

struct dead_priorities {
    std::string why;
    std::string which;
    unsigned line; ///< that last set one of their entries
};

// Priorities with the same reason are reported together.
std::vector<dead_priorities> dead_ends(const line_model& entities, const me_instance& mapper)
{
    const auto me = mapper.as<gpon_raw_mapper>();
    std::vector<dead_priorities> reasons;
    for (unsigned priority = 0; priority < gpon::PRIORITIES; ++priority) {
        const std::string why = dead_end(entities, mapper, me.pbit_GemIWTP[priority]);
        if (why.empty())
            continue;
        const unsigned line = at(mapper, "pbit_GemIWTP", priority).line;
        const auto same = std::ranges::find(reasons, why, &dead_priorities::why);
        if (same == reasons.end()) {
            reasons.push_back({why, std::to_string(priority), line});
            continue;
        }
        same->which += ", " + std::to_string(priority);
        same->line = std::max(same->line, line);
    }
    return reasons;
}

void check_untagged(const me_instance& mapper, finding_list& found)
{
    const auto me = mapper.as<gpon_raw_mapper>();
    if (me.unmark_frame_opt != gpon::FROM_DSCP && me.unmark_frame_opt != gpon::FROM_DEFAULT_PBIT)
        found.add(at(mapper, {"unmark_frame_opt"}), "untagged-dropped",
                  "unmark_frame_opt " + std::to_string(me.unmark_frame_opt) +
                      " does not map untagged frames",
                  "use 0 (by DSCP) or 1 (defaultPbit)");
    else if (me.unmark_frame_opt == gpon::FROM_DEFAULT_PBIT && me.defaultPbit >= gpon::PRIORITIES)
        found.add(at(mapper, {"defaultPbit"}), "untagged-dropped",
                  "defaultPbit " + std::to_string(me.defaultPbit) + " is not a priority",
                  "use 0 to 7");
}

} // namespace

void check_mappers(const line_model& entities, finding_list& found)
{
    for (const me_instance& mapper : entities.instances(me_class::mapper)) {
        for (const dead_priorities& dead : dead_ends(entities, mapper))
            found.add({mapper.id, dead.line}, "priority-leads-nowhere",
                      "priority " + dead.which + ": " + dead.why,
                      "set pbit_GemIWTP of these priorities to a GEM IW TP of this mapper; create "
                      "it first");
        check_untagged(mapper, found);
    }
}

} // namespace gponflow
