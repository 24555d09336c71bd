// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/tagging_output.h"

#include <ostream>

#include <nlohmann/json.hpp>

#include "tool/model/instance_json.h"
#include "tool/tagging/frame_tags.h"
#include "tool/text/json_document.h"

namespace gponflow {

namespace {

json step_json(const tag_step& step, const line_places& places)
{
    return {{"operation", id_json(step.operation)},
            {"at", id_json(step.at)},
            {"row", step.row},
            {"sources", sources_json(step.sources, places)},
            {"before", tags_text(step.before)},
            {"after", tags_text(step.after)},
            {"discarded", step.discarded}};
}

} // namespace

void print_tagging(const carried_frame& carried, const line_places& places, std::ostream& out,
                   const palette& colours)
{
    if (!carried.steps.empty())
        out << "  arrives as " << tags_text(carried.steps.front().before) << '\n';
    for (const tag_step& step : carried.steps) {
        out << "    " << to_text(step.operation) << " of " << to_text(step.at) << ": " << step.row
            << '\n';
        if (const std::string set_in = sources_text(step.sources, places); !set_in.empty())
            out << "      set in " << set_in << '\n';
        out << "  "
            << (step.discarded ? colours.bad("discarded") : "leaves as " + tags_text(step.after))
            << '\n';
    }
}

std::string gap_text(const tag_gap& gap, const line_places& places)
{
    return to_text(gap.operation) + ": an operation exists here and was not applied: " + gap.why +
           in_parentheses(gap.sources, places);
}

nlohmann::ordered_json tagging_json(const carried_frame& carried, const line_places& places)
{
    json steps = json::array();
    for (const tag_step& step : carried.steps)
        steps.push_back(step_json(step, places));
    json gaps = json::array();
    for (const tag_gap& gap : carried.gaps)
        gaps.push_back({{"operation", id_json(gap.operation)},
                        {"reason", gap.why},
                        {"sources", sources_json(gap.sources, places)}});
    return {{"steps", std::move(steps)},
            {"not_applied", std::move(gaps)},
            {"discarded", carried.discarded}};
}

} // namespace gponflow
