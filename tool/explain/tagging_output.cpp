// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/tagging_output.h"

#include <ostream>

#include <nlohmann/json.hpp>

#include "tool/tagging/frame_tags.h"
#include "tool/text/json_document.h"

namespace gponflow {

namespace {

json instance_json(me_id id)
{
    const class_record* known = find_me_class(id.class_id);
    return {{"class", known ? known->name : ""},
            {"class_id", gpon::class_number(id.class_id)},
            {"instance", id.instance}};
}

json step_json(const tag_step& step)
{
    return {{"operation", instance_json(step.operation)},
            {"at", instance_json(step.at)},
            {"row", step.row},
            {"before", tags_text(step.before)},
            {"after", tags_text(step.after)},
            {"discarded", step.discarded}};
}

} // namespace

void print_tagging(const carried_frame& carried, std::ostream& out, const palette& colours)
{
    if (!carried.steps.empty())
        out << "  arrives as " << tags_text(carried.steps.front().before) << '\n';
    for (const tag_step& step : carried.steps)
        out << "    " << to_text(step.operation) << " of " << to_text(step.at) << ": " << step.row
            << '\n'
            << "  "
            << (step.discarded ? colours.bad("discarded") : "leaves as " + tags_text(step.after))
            << '\n';
}

void print_gaps(const std::vector<tag_gap>& gaps, std::ostream& out)
{
    for (const tag_gap& gap : gaps)
        out << to_text(gap.operation)
            << ": an operation exists here and was not applied: " << gap.why << '\n';
}

nlohmann::ordered_json tagging_json(const carried_frame& carried)
{
    json steps = json::array();
    for (const tag_step& step : carried.steps)
        steps.push_back(step_json(step));
    json gaps = json::array();
    for (const tag_gap& gap : carried.gaps)
        gaps.push_back({{"operation", instance_json(gap.operation)}, {"reason", gap.why}});
    return {{"steps", std::move(steps)},
            {"not_applied", std::move(gaps)},
            {"discarded", carried.discarded}};
}

} // namespace gponflow
