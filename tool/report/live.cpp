// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/live.h"

#include <algorithm>
#include <utility>

#include "platform/api/platform_hook.h"
#include "tool/explain/fault.h"
#include "tool/model/uni.h"

namespace gponflow {

namespace {

std::optional<uint32_t> kind_of(const std::string& direction)
{
    constexpr std::array<std::pair<const char*, uint32_t>, 4> kind_names = {
        {{"UP_UNI", GPON_API_UP_UNI},
         {"UP_ANI", GPON_API_UP_ANI},
         {"DOWN_UNI", GPON_API_DOWN_UNI},
         {"DOWN_ANI", GPON_API_DOWN_ANI}}};
    for (const auto& [name, kind] : kind_names)
        if (direction == name)
            return kind;
    return {};
}

// The class at which a direction leaves the walk. Steps behind it are left from an abandoned
// branch.
me_class last_class(uint32_t kind)
{
    return kind == GPON_API_UP_ANI ? me_class::gemctp : me_class::mbpcd;
}

std::vector<me_id> path_of(uint32_t kind, const std::vector<me_id>& steps)
{
    const auto end = std::ranges::find(steps, last_class(kind), &me_id::class_id);
    return {steps.begin(), end == steps.end() ? end : end + 1};
}

std::string gem_port_text(const line_model& entities, me_id ctp)
{
    const me_instance* me = entities.find(ctp);
    return me ? "GEM port " + std::to_string(me->as<gpon_raw_gemctp>().portID) : std::string();
}

// "UNI 1" or "GEM port 1025", where the direction starts at one.
std::string entry_of(uint32_t kind, const line_model& entities, const std::vector<me_id>& path)
{
    if (path.empty())
        return {};
    if (kind == GPON_API_UP_UNI)
        return "UNI " + std::to_string(uni_number(path.front()));
    if (kind != GPON_API_DOWN_ANI)
        return {};
    const me_instance* first = entities.find(path.front());
    if (!first)
        return {};
    const uint16_t ctp = first->id.class_id == me_class::multigemiw
                             ? first->as<gpon_raw_multigemiw>().GemCTPInstID
                             : first->as<gpon_raw_gemiw>().gemCTPInstID;
    return gem_port_text(entities, {me_class::gemctp, ctp});
}

std::string bridge_of_path(const line_model& entities, const std::vector<me_id>& path)
{
    for (const me_id step : path)
        if (const auto bridge = bridge_of(entities, step))
            return "bridge " + std::to_string(*bridge);
    return "no bridge";
}

// A multicast frame passes whatever the filter of the port decides, and the rule does not say.
std::string multicast_outcome(const line_model& entities, const std::vector<me_id>& path)
{
    const std::string bridge = bridge_of_path(entities, path);
    return entities.related(path.back(), me_class::vtfd).empty()
               ? "into " + bridge
               : "to " + bridge + ", if the filter of its port passes the frame";
}

std::string outcome_of(uint32_t kind, const line_model& entities, const std::vector<me_id>& path)
{
    switch (kind) {
    case GPON_API_DOWN_ANI:
        if (!path.empty() && path.front().class_id == me_class::multigemiw)
            return multicast_outcome(entities, path);
        [[fallthrough]];
    case GPON_API_UP_UNI:
        return "into " + bridge_of_path(entities, path);
    case GPON_API_UP_ANI:
        return (path.empty() ? std::string() : gem_port_text(entities, path.back())) + " from " +
               bridge_of_path(entities, path);
    default:
        return "out of the UNI, not walked";
    }
}

flow_row flow_of(uint32_t kind, const dumped_rule& rule, const line_model& entities)
{
    flow_row flow;
    flow.kind = kind;
    flow.fate = frame_fate::learnt;
    flow.key = rule.key;
    flow.hook_tags = rule.key.tags;
    flow.path = path_of(kind, rule.steps);
    flow.entry = entry_of(kind, entities, flow.path);
    flow.outcome = outcome_of(kind, entities, flow.path);
    flow.quick = rule.hits.value_or(0);
    flow.frames = flow.quick + 1; // the frame that was learnt
    return flow;
}

void add_flows(report_data& data)
{
    for (const dumped_rule& rule : data.rules->rules)
        if (const std::optional<uint32_t> kind = kind_of(rule.key.direction))
            data.flows.push_back(flow_of(*kind, rule, data.entities));
    for (const flow_row& flow : data.flows) {
        direction_row& direction = data.directions.at(flow.kind);
        direction.frames += flow.frames;
        direction.quick += flow.quick;
    }
    std::ranges::stable_sort(data.flows, std::greater<>(), &flow_row::frames);
    for (size_t i = most_flows; i < data.flows.size(); ++i)
        data.flows_left_out += data.flows[i].frames;
    data.flows.resize(std::min(data.flows.size(), most_flows));
}

} // namespace

report_data live_report(module_reader& module)
{
    report_data data;
    data.live = live_state{module.counters(), false, false};
    const unsigned load = module.load_number();
    data.live->enabled = module.state().enabled;
    data.entities = model_of(module.instances());
    data.rules = module.table();
    data.live->changed = module.take_change() || module.load_number() != load;
    add_flows(data);
    data.findings = check_provisioning(data.entities, {false, {}}).findings;
    return data;
}

} // namespace gponflow
