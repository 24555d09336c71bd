// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/report_json.h"

#include <nlohmann/json.hpp>

#include "tool/explain/explain_output.h"
#include "tool/model/instance_json.h"

namespace gponflow {

namespace {

const char* name_of(frame_fate fate)
{
    switch (fate) {
    case frame_fate::passed:
        return "passed";
    case frame_fate::dropped:
        return "dropped";
    case frame_fate::learnt:
        return "learnt";
    default:
        return "not classified";
    }
}

json directions_json(const report_data& data)
{
    json all = json::array();
    for (uint32_t kind = 0; kind < data.directions.size(); ++kind) {
        const direction_row& row = data.directions.at(kind);
        json entry = {{"kind", hook_kind_name(kind)}, {"frames", row.frames}, {"quick", row.quick}};
        if (!data.live)
            entry.update({{"passed", row.passed},
                          {"dropped", row.dropped},
                          {"not_classified", row.untouched},
                          {"notes", row.notes}});
        all.push_back(std::move(entry));
    }
    return all;
}

json flow_json(const flow_row& flow)
{
    json path = json::array();
    for (const me_id& step : flow.path)
        path.push_back(id_json(step));
    return {{"kind", hook_kind_name(flow.kind)},
            {"entry", flow.entry},
            {"source", to_text(flow.key.source)},
            {"destination", to_text(flow.key.destination)},
            {"tags", tags_json(flow.key.tags)},
            {"tags_at_hook", tags_json(flow.hook_tags)},
            {"type", flow.type},
            {"outcome", name_of(flow.fate)},
            {"text", flow.outcome},
            {"frames", flow.frames},
            {"octets", flow.octets},
            {"quick", flow.quick},
            {"first", flow.first},
            {"path", std::move(path)},
            {"rewriting", flow.rewriting},
            {"not_applied", flow.not_applied}};
}

json drop_json(const drop_row& drop)
{
    return {{"kind", hook_kind_name(drop.kind)},
            {"tags", tags_json(drop.tags)},
            {"tags_at_hook", tags_json(drop.hook_tags)},
            {"reason", drop.reason},
            {"frames", drop.frames},
            {"first", drop.first}};
}

json live_json(const live_state& live)
{
    json counters = json::object();
    for (const counter_value& one : live.counters)
        counters[one.name] = one.value;
    return {{"enabled", live.enabled}, {"changed", live.changed}, {"counters", counters}};
}

} // namespace

void print_report_json(const report_data& data, std::ostream& out)
{
    json flows = json::array();
    for (const flow_row& flow : data.flows)
        flows.push_back(flow_json(flow));
    json drops = json::array();
    for (const drop_row& drop : data.drops)
        drops.push_back(drop_json(drop));
    json whole = json_document("report");
    whole["scenario"] = data.scenario;
    whole["captures"] = data.captures;
    if (data.live)
        whole["live"] = live_json(*data.live);
    whole["notes"] = notes_of(data);
    whole["directions"] = directions_json(data);
    whole["flows"] = std::move(flows);
    whole["flows_left_out"] = data.flows_left_out;
    whole["drops"] = std::move(drops);
    whole["drops_left_out"] = data.drops_left_out;
    print_json(whole, out);
}

} // namespace gponflow
