// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/trace_output.h"

#include <string_view>

#include <nlohmann/json.hpp>

#include "tool/capture/frame_header.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/verdict.h"
#include "tool/model/instance_json.h"

namespace gponflow {

json steps_json(const walk_record& walk)
{
    json steps = json::array();
    for (const walk_step& step : walk.steps) {
        json entry = id_json(step.at);
        entry["depth"] = step.depth;
        entry["passed"] = step.passed;
        entry["decisions"] = step.decisions;
        if (!step.dead_end.empty())
            entry["dead_end"] = step.dead_end;
        steps.push_back(std::move(entry));
    }
    return steps;
}

namespace {

std::string_view outcome_name(const walk_record& walk)
{
    if (walk.dropped)
        return "dropped";
    if (walk.end_lost)
        return "unknown";
    return name_of(walk.ran ? line_outcome::passed : line_outcome::not_classified);
}

} // namespace

void print_trace_json(const traced_frame& traced, std::ostream& out)
{
    const walk_record& walk = traced.walk;
    json whole = json_document("trace");
    whole["number"] = traced.number;
    whole["kind"] = hook_kind_name(traced.kind);
    whole["outcome"] = outcome_name(walk);
    whole["replayed"] = walk.replayed;
    if (traced.frame)
        whole["frame"] = header_json(read_header(*traced.frame));
    if (walk.incomplete)
        whole["incomplete"] = true;
    if (traced.lost_events)
        whole["lost_events"] = *traced.lost_events;
    if (traced.entities_changed)
        whole["entities_changed"] = true;
    if (walk.dropped)
        whole["reason"] = drop_text(walk);
    else if (walk.gem_port != 0)
        whole["gem_port"] = walk.gem_port;
    whole["steps"] = steps_json(walk);
    print_json_line(whole, out);
}

} // namespace gponflow
