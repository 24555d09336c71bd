// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/fault.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

#include "include/mapper_values.h"
#include "include/packet_flow.h"
#include "include/tci.h"
#include "include/tp_types.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/filter_words.h"
#include "tool/model/tag_set.h"
#include "tool/tagging/frame_priority.h"

namespace gponflow {

namespace {

constexpr size_t most_named = 3;

std::string of_bridge(std::optional<uint16_t> bridge)
{
    return bridge ? " of bridge " + std::to_string(*bridge) : "";
}

class fault_finder {
public:
    fault_finder(const walk_record& walk, const line_model& entities,
                 std::optional<uint16_t> bridge)
        : walk_(walk), entities_(entities), bridge_(bridge)
    {
    }

    std::vector<fault> find() const
    {
        std::vector<size_t> furthest;
        if (!walk_.other_failure.empty())
            return {};
        if (std::vector<fault> bridges = missing_bridges(); !bridges.empty())
            return bridges;
        for (size_t i = 0; i < walk_.steps.size(); ++i) {
            if (walk_.steps[i].dead_end.empty())
                continue;
            if (!furthest.empty() && reach(i) > reach(furthest.front()))
                furthest.clear();
            if (furthest.empty() || reach(i) == reach(furthest.front()))
                furthest.push_back(i);
        }
        std::vector<fault> result;
        for (const size_t step : furthest) {
            fault one = fault_at(step);
            // The branches of a mapper end for the same reason.
            if (std::ranges::find(result, one.reason, &fault::reason) == result.end())
                result.push_back(std::move(one));
        }
        return result;
    }

private:
    // No walk enters a bridge whose profile does not exist. Its ports name it: without the frame's
    // bridge, one port of each.
    std::vector<fault> missing_bridges() const
    {
        std::vector<fault> result;
        std::set<me_id> named;
        if (walk_.fwd_flag != UP_ANI || walk_.incomplete || (!bridge_ && !walk_.steps.empty()))
            return result;
        for (const me_instance& port : entities_.instances(me_class::mbpcd)) {
            const uint16_t bridge = port.as<gpon_raw_mbpcd>().bridgeID;
            if (type_of(port).side != tp_side::uni || bridge != bridge_.value_or(bridge))
                continue;
            for (const me_pointer& pointer : entities_.pointers(port))
                if (pointer.to == me_id{me_class::mbsp, bridge} && !entities_.find(pointer.to) &&
                    named.insert(pointer.to).second)
                    result.push_back(
                        {port.id,
                         to_text(port.id) + ": " + broken_link_text(entities_, pointer, port.id),
                         {},
                         sources_of(pointer)});
        }
        return result;
    }

    std::vector<attribute_source> sources_of(const me_pointer& pointer) const
    {
        return {{pointer.attribute, pointer.source_line}};
    }

    // A port on the other side is no place where a frame could have continued.
    bool on_other_side(const walk_step& step) const
    {
        return step.dead_end == side_text(entities_, step.at) &&
               step.at.class_id == me_class::mbpcd &&
               gpon::bridge_port_tp(entities_.find(step.at)
                                        ? entities_.find(step.at)->as<gpon_raw_mbpcd>().tpType
                                        : uint8_t{0})
                       .side != tp_side::none;
    }

    // A port of a multicast interworking point leads no upstream frame on.
    bool is_multicast_port(const walk_step& step) const
    {
        const me_instance* port =
            step.at.class_id == me_class::mbpcd ? entities_.find(step.at) : nullptr;
        return walk_.fwd_flag == UP_ANI && port && type_of(*port).class_id == me_class::multigemiw;
    }

    const me_instance* filter_of(const walk_step& step) const
    {
        const bool filtered = step.dead_end == filter_drops || step.dead_end == filter_on_uni_side;
        return filtered ? entities_.first_related(step.at, me_class::vtfd) : nullptr;
    }

    std::tuple<bool, bool, bool, bool, size_t, bool, bool> reach(size_t i) const
    {
        const walk_step& step = walk_.steps[i];
        const me_instance* filter = filter_of(step);
        const bool same_vlan = filter && walk_.tci != 0 &&
                               lists_vlan(filter->as<gpon_raw_vtfd>(), gpon::vlan_of(walk_.tci));
        return {!bridge_ || bridge_of_step(walk_, entities_, i) == bridge_,
                step.failed,
                entities_.find(step.at) != nullptr,
                !on_other_side(step) && !is_multicast_port(step),
                step.depth,
                step.broken_link.has_value(),
                same_vlan};
    }

    fault no_port(size_t i, uint16_t bridge) const
    {
        const me_id profile{me_class::mbsp, bridge};
        const char* side = walk_.fwd_flag == DOWN_ANI ? "UNI" : "ANI";
        const me_instance* me = entities_.find(profile);
        return {profile, to_text(profile) + " has no port on the " + side + " side", i,
                me ? me->sources_of({"instID"}) : std::vector<attribute_source>()};
    }

    // The module starts at an instance 0 if no interworking point names the CTP of the GEM port.
    std::optional<fault> no_interworking(size_t i) const
    {
        const walk_step& step = walk_.steps[i];
        if (!walk_.entry_gem || step.depth != 0 || entities_.find(step.at))
            return {};
        const std::string port = std::to_string(*walk_.entry_gem);
        for (const me_instance& ctp : entities_.instances(me_class::gemctp))
            if (ctp.as<gpon_raw_gemctp>().portID == *walk_.entry_gem)
                return fault{ctp.id,
                             "no " + class_name(step.at.class_id) + " points at " +
                                 to_text(ctp.id) + " (portID " + port + ")",
                             i, ctp.sources_of({"portID"})};
        return fault{step.at, "no GEM_PORT_CTP has the GEM port " + port + " (portID)", i, {}};
    }

    // A mapper that no GEM interworking point is linked to.
    bool is_empty_mapper(const walk_step& step) const
    {
        return step.at.class_id == me_class::mapper && walk_.fwd_flag == UP_ANI && !step.failed &&
               entities_.find(step.at) && entities_.related(step.at, me_class::gemiw).empty();
    }

    fault fault_at(size_t i) const
    {
        const walk_step& step = walk_.steps[i];
        const std::optional<uint16_t> bridge = bridge_of_step(walk_, entities_, i);
        if (bridge && on_other_side(step))
            return no_port(i, *bridge);
        if (const me_instance* filter = filter_of(step))
            return {filter->id, filter_reason(*filter, step, bridge), i,
                    filter_sources(*filter, step)};
        if (std::optional<fault> none = no_interworking(i))
            return *std::move(none);
        if (is_empty_mapper(step)) {
            const me_instance& mapper = *entities_.find(step.at);
            return {mapper.id, mapper_reason(mapper, bridge), i, mapper_sources(mapper)};
        }
        if (step.broken_link)
            return {step.broken_link->from,
                    to_text(step.at) + of_bridge(bridge) + ": " + step.dead_end, i,
                    sources_of(*step.broken_link)};
        if (step.dead_end == not_selected)
            if (const me_instance* mapper = entities_.first_related(step.at, me_class::mapper))
                return {mapper->id, mapper_reason(*mapper, bridge), i, mapper_sources(*mapper)};
        if (lacks_pointer_from_bridge(step))
            return {step.at, step.dead_end + " points at " + to_text(step.at), i,
                    end_sources(step)};
        return {step.at, to_text(step.at) + of_bridge(bridge) + ": " + step.dead_end, i,
                end_sources(step)};
    }

    // Downstream, a walk follows pointers backwards.
    bool lacks_pointer_from_bridge(const walk_step& step) const
    {
        return walk_.fwd_flag == DOWN_ANI && step.dead_end.starts_with("no ") &&
               (step.at.class_id == me_class::gemiw || step.at.class_id == me_class::mapper) &&
               entities_.find(step.at);
    }

    std::vector<attribute_source> end_sources(const walk_step& step) const
    {
        const me_instance* me = entities_.find(step.at);
        if (!me)
            return {};
        if (step.at.class_id == me_class::mbpcd && step.dead_end == side_text(entities_, step.at))
            return me->sources_of({"tpType"});
        if (step.at.class_id == me_class::gemctp &&
            me->as<gpon_raw_gemctp>().direction == gem_downstream)
            return me->sources_of({"direction"});
        return me->sources_of({"instID"});
    }

    std::vector<attribute_source> filter_sources(const me_instance& filter,
                                                 const walk_step& step) const
    {
        if (step.dead_end == filter_on_uni_side)
            return filter.sources_of({"instID"});
        const auto me = filter.as<gpon_raw_vtfd>();
        if (walk_.tci == 0 || compared_bits(me.forwardOperation) == 0)
            return filter.sources_of({"forwardOperation"});
        return filter.sources_of({"vlanFilterList", "vlanFilterNums", "forwardOperation"});
    }

    // The entry that the priority selects; for untagged frames also what gives them a priority.
    std::vector<attribute_source> mapper_sources(const me_instance& mapper) const
    {
        const auto me = mapper.as<gpon_raw_mapper>();
        if (walk_.tci != 0)
            return {mapper.source_of("pbit_GemIWTP", gpon::priority_of(walk_.tci))};
        if (me.unmark_frame_opt == gpon::FROM_DSCP)
            return mapper.sources_of({"dscp2pbitMap", "pbit_GemIWTP", "unmark_frame_opt"});
        if (me.unmark_frame_opt != gpon::FROM_DEFAULT_PBIT)
            return mapper.sources_of({"unmark_frame_opt"});
        std::vector<attribute_source> sources =
            mapper.sources_of({"defaultPbit", "unmark_frame_opt"});
        if (me.defaultPbit < std::size(me.pbit_GemIWTP))
            sources.insert(sources.begin(), mapper.source_of("pbit_GemIWTP", me.defaultPbit));
        return sources;
    }

    std::string filter_reason(const me_instance& filter, const walk_step& step,
                              std::optional<uint16_t> bridge) const
    {
        const auto me = filter.as<gpon_raw_vtfd>();
        const std::string name = to_text(filter.id) + of_bridge(bridge);
        if (step.dead_end == filter_on_uni_side)
            return name + " is on the UNI side, where it drops every frame";
        return name + " (forwardOperation " + hex_text(me.forwardOperation, 2) + ") " +
               refusal_words(me, walk_.tci ? std::optional(walk_.tci) : std::nullopt);
    }

    std::string mapper_reason(const me_instance& mapper, std::optional<uint16_t> bridge) const
    {
        const auto me = mapper.as<gpon_raw_mapper>();
        const std::string name = to_text(mapper.id) + of_bridge(bridge);
        if (walk_.tci == 0)
            return name + " has no GEM IW TP for untagged frames (unmark_frame_opt " +
                   std::to_string(me.unmark_frame_opt) + ", defaultPbit " +
                   std::to_string(me.defaultPbit) + ")";
        const uint8_t priority = gpon::priority_of(walk_.tci);
        const uint16_t target = selected_gem_iw(me, priority);
        std::string reason = name + " has no GEM IW TP for priority " + std::to_string(priority) +
                             " (pbit_GemIWTP " + hex_text(target);
        const me_id gem_iw{me_class::gemiw, target};
        if (target != gpon::NO_GEM_IW_TP)
            reason += entities_.find(gem_iw) ? ", not linked" : ", which does not exist";
        return reason + ")";
    }

    const walk_record& walk_;
    const line_model& entities_;
    std::optional<uint16_t> bridge_;
};

} // namespace

std::vector<fault> faults_of(const walk_record& walk, const line_model& entities,
                             std::optional<uint16_t> bridge)
{
    return fault_finder(walk, entities, bridge).find();
}

std::string drop_reason(const walk_record& walk, const line_model& entities,
                        std::optional<uint16_t> bridge)
{
    if (walk.other_failure == no_queue)
        return "a path exists, but the platform found no priority queue";
    if (!walk.other_failure.empty())
        return walk.other_failure;
    const std::vector<fault> faults = faults_of(walk, entities, bridge);
    std::string text;
    for (size_t i = 0; i < std::min(most_named, faults.size()); ++i)
        text += (i ? "; " : "") + faults[i].reason;
    if (faults.size() > most_named)
        text += "; and " + std::to_string(faults.size() - most_named) + " more branches";
    if (!text.empty())
        return text;
    if (walk.incomplete)
        return events_missing;
    if (walk.steps.empty())
        return "no managed entity takes frames of this kind";
    return "a path exists, but the frame was not sent on it";
}

std::optional<uint16_t> bridge_of(const line_model& entities, me_id port)
{
    const me_instance* me = port.class_id == me_class::mbpcd ? entities.find(port) : nullptr;
    return me ? std::optional(me->as<gpon_raw_mbpcd>().bridgeID) : std::nullopt;
}

std::optional<uint16_t> bridge_of_path(const walk_record& walk, const line_model& entities)
{
    std::optional<uint16_t> found;
    for (const walk_step& step : walk.steps)
        if (const auto bridge = step.passed ? bridge_of(entities, step.at) : std::nullopt)
            if (!found || !walk.replayed)
                found = bridge;
    return found;
}

std::string bridge_text(std::optional<uint16_t> bridge)
{
    return bridge ? "bridge " + std::to_string(*bridge) : "no bridge";
}

std::string bridge_text(const walk_record& walk, const line_model& entities)
{
    const std::optional<uint16_t> bridge = bridge_of_path(walk, entities);
    return !bridge && walk.incomplete ? "an unknown bridge" : bridge_text(bridge);
}

std::optional<uint16_t> bridge_of_step(const walk_record& walk, const line_model& entities,
                                       size_t step)
{
    for (const size_t at : branch_to(walk, step)) {
        if (walk.steps[at].at.class_id == me_class::mbsp)
            return walk.steps[at].at.instance;
        if (const auto bridge = bridge_of(entities, walk.steps[at].at))
            return bridge;
    }
    return {};
}

} // namespace gponflow
