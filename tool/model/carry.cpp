// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/carry.h"

#include <algorithm>
#include <optional>

#include "include/tci.h"
#include "include/tp_types.h"
#include "include/tpid.h"
#include "tool/model/tag_places.h"
#include "tool/model/tag_set.h"
#include "tool/model/uni.h"
#include "tool/tagging/apply.h"
#include "tool/tagging/frame_priority.h"

namespace gponflow {

namespace {

enum class direction { upstream, downstream };

tag_rewriting rewrite(const tag_operation& operation, direction dir, const bytes& frame)
{
    return dir == direction::upstream ? rewrite_upstream(operation, frame)
                                      : rewrite_downstream(operation, frame);
}

class carrier {
public:
    carrier(const line_model& entities, direction dir, const bytes& frame)
        : model_(entities), direction_(dir)
    {
        carried.frame = frame;
    }

    void pass(me_id place)
    {
        for (const me_id operation : operations_at(model_, place))
            if (!carried.discarded)
                apply(operation, place);
    }

    // Operations without a place belong to the line as a whole.
    void note_unplaced()
    {
        for (const me_id operation : model_.tag_operations())
            if (const std::string why = placement_fault(model_, operation); !why.empty())
                carried.gaps.push_back({operation, why, placement_sources(model_, operation)});
    }

    carried_frame carried;

private:
    void apply(me_id id, me_id place)
    {
        const tag_operation* operation = model_.operation(id);
        if (!operation) {
            carried.gaps.push_back({id, "its attributes are not known"});
            return;
        }
        tag_rewriting done = rewrite(*operation, direction_, carried.frame);
        if (done.outcome == tag_outcome::unknown) {
            carried.gaps.push_back({id, done.why, std::move(done.sources), done.frame_ends});
            return;
        }
        // A default row or mode, with which the instance began.
        if (!done.sources.empty() && done.sources.front().line == 0)
            done.sources.front().line = model_.creation_line(id);
        carried.discarded = done.outcome == tag_outcome::discarded;
        carried.steps.push_back({id, place, done.row, carried.frame, done.frame, carried.discarded,
                                 done.note, std::move(done.sources)});
        carried.frame = std::move(done.frame);
    }

    const line_model& model_;
    direction direction_;
};

me_id target_of(const me_instance& port)
{
    return {type_of(port).class_id, port.as<gpon_raw_mbpcd>().tpPointer};
}

std::vector<const me_instance*> ports_at(const line_model& entities, me_id uni)
{
    std::vector<const me_instance*> ports;
    for (const me_instance& port : entities.instances(me_class::mbpcd))
        if (target_of(port) == uni)
            ports.push_back(&port);
    return ports;
}

// Ports of the bridge through which upstream frames leave, in the order of the walk.
std::vector<const me_instance*> upstream_ports(const line_model& entities, uint16_t bridge)
{
    std::vector<const me_instance*> ports;
    for (const me_id id : entities.related({me_class::mbsp, bridge}, me_class::mbpcd)) {
        const me_instance* port = entities.find(id);
        if (port && type_of(*port).side == tp_side::ani &&
            type_of(*port).class_id != me_class::multigemiw &&
            std::ranges::find(ports, port) == ports.end())
            ports.push_back(port);
    }
    return ports;
}

// The TCI that filters and mappers see.
uint16_t outer_tci(const bytes& frame)
{
    const auto word = [&](size_t at) {
        return frame.size() >= at + 2 ? frame[at] << 8 | frame[at + 1] : 0;
    };
    return gpon::has_outer_tci(static_cast<uint16_t>(word(12))) ? static_cast<uint16_t>(word(14))
                                                                : untagged_tci;
}

// The GEM IW TP that a mapper selects by the priority of the frame.
std::optional<me_id> selected_by(const line_model& entities, me_id mapper, const bytes& frame)
{
    const me_instance* found = entities.find(mapper);
    const uint16_t tci = outer_tci(frame);
    if (!found || tci == untagged_tci)
        return {};
    return me_id{me_class::gemiw,
                 selected_gem_iw(found->as<gpon_raw_mapper>(), gpon::priority_of(tci))};
}

// The operations of a port towards the ANI and of what is behind it.
carried_frame through_port(const line_model& entities, const me_instance& port, const bytes& frame)
{
    carrier work(entities, direction::upstream, frame);
    work.pass(port.id);
    const me_id target = target_of(port);
    work.pass(target);
    if (target.class_id == me_class::mapper)
        if (const auto gem_iw = selected_by(entities, target, work.carried.frame))
            work.pass(*gem_iw);
    return std::move(work.carried);
}

bool is_untouched(const carried_frame& frame)
{
    return frame.steps.empty() && frame.gaps.empty();
}

// The choice among the ports towards the ANI of one bridge. Returns false if none takes the frame.
// A port that discards it leaves it to the others.
bool carry_through_bridge(const line_model& entities, uint16_t bridge, carried_frame& carried)
{
    std::vector<tag_gap> gaps;
    std::optional<carried_frame> discarded;
    for (const me_instance* port : upstream_ports(entities, bridge)) {
        carried_frame behind = through_port(entities, *port, carried.frame);
        if (behind.discarded) {
            if (!discarded)
                discarded = std::move(behind);
            continue;
        }
        if (accepts_upstream(entities, *port, outer_tci(behind.frame))) {
            append(carried, std::move(behind));
            return true;
        }
        if (is_untouched(behind))
            continue;
        for (const tag_step& step : behind.steps)
            gaps.push_back({step.operation,
                            to_text(port->id) + " does not accept the frame that it produces",
                            step.sources});
        std::ranges::move(behind.gaps, std::back_inserter(gaps));
    }
    if (discarded)
        append(carried, std::move(*discarded));
    else
        std::ranges::move(gaps, std::back_inserter(carried.gaps));
    return false;
}

// Through a port towards the UNI and its bridge. Returns false if no port takes the frame.
bool carry_by_port(const line_model& entities, const me_instance& port, carried_frame& carried)
{
    carrier work(entities, direction::upstream, carried.frame);
    work.pass(port.id);
    const bool leaves =
        !work.carried.discarded &&
        carry_through_bridge(entities, port.as<gpon_raw_mbpcd>().bridgeID, work.carried);
    carried = std::move(work.carried);
    return leaves;
}

// The frame is unchanged: the operations of a bridge that does not take it have no effect.
void keep_as_gaps(const me_instance& port, const carried_frame& refused, std::vector<tag_gap>& gaps)
{
    for (const tag_step& step : refused.steps)
        gaps.push_back({step.operation, "no port behind " + to_text(port.id) + " accepts the frame",
                        step.sources});
    std::ranges::copy(refused.gaps, std::back_inserter(gaps));
}

} // namespace

carried_frame carry_from_uni(const line_model& entities, me_id uni, const bytes& frame)
{
    carrier work(entities, direction::upstream, frame);
    work.note_unplaced();
    work.pass(uni);
    return std::move(work.carried);
}

carried_frame carry_to_ani(const line_model& entities, me_id uni, const bytes& frame)
{
    const std::vector<const me_instance*> ports = ports_at(entities, uni);
    std::vector<tag_gap> gaps;
    std::optional<carried_frame> discarded;
    for (const me_instance* port : ports) {
        carried_frame carried{frame, {}, {}, false};
        // With one bridge, the frame is what its operations make of it, accepted or not.
        if (carry_by_port(entities, *port, carried) || ports.size() == 1)
            return carried;
        if (!carried.discarded)
            keep_as_gaps(*port, carried, gaps);
        else if (!discarded)
            discarded = std::move(carried);
    }
    if (discarded)
        return std::move(*discarded);
    return {frame, {}, std::move(gaps), false};
}

carried_frame carry_from_ani(const line_model& entities, const std::vector<me_id>& path,
                             const bytes& frame)
{
    carrier work(entities, direction::downstream, frame);
    work.note_unplaced();
    for (const me_id at : path)
        if (!is_uni(at.class_id))
            work.pass(at);
    return std::move(work.carried);
}

carried_frame carry_to_uni(const line_model& entities, me_id uni, const bytes& frame,
                           std::optional<uint16_t> bridge)
{
    carrier work(entities, direction::downstream, frame);
    for (const me_instance* port : ports_at(entities, uni))
        if (!bridge || port->as<gpon_raw_mbpcd>().bridgeID == *bridge)
            work.pass(port->id);
    work.pass(uni);
    return std::move(work.carried);
}

std::vector<me_id> unis_of(const line_model& entities, me_id bridge)
{
    std::vector<me_id> unis;
    for (const me_instance& port : entities.instances(me_class::mbpcd))
        if (port.as<gpon_raw_mbpcd>().bridgeID == bridge.instance &&
            type_of(port).side == tp_side::uni)
            unis.push_back(target_of(port));
    return unis;
}

void append(carried_frame& first, carried_frame then)
{
    std::ranges::move(then.steps, std::back_inserter(first.steps));
    std::ranges::move(then.gaps, std::back_inserter(first.gaps));
    first.frame = std::move(then.frame);
    first.discarded = then.discarded;
}

std::vector<leaving_frame> carry_to_unis(const line_model& entities, const std::vector<me_id>& path,
                                         const bytes& frame)
{
    const auto port = std::ranges::find(path, me_class::mbpcd, &me_id::class_id);
    const me_instance* me = port == path.end() ? nullptr : entities.find(*port);
    if (!me)
        return {};
    const carried_frame bridged = carry_from_ani(entities, path, frame);
    const uint16_t bridge = me->as<gpon_raw_mbpcd>().bridgeID;
    std::vector<leaving_frame> leaving;
    for (const me_id uni : unis_of(entities, {me_class::mbsp, bridge})) {
        leaving.push_back({uni, bridged});
        if (!bridged.discarded)
            append(leaving.back().carried, carry_to_uni(entities, uni, bridged.frame, bridge));
    }
    return leaving;
}

std::vector<tag_gap> gaps_of_both_halves(const carried_frame& before, std::vector<tag_gap> after)
{
    std::vector<tag_gap> gaps = before.gaps;
    for (tag_gap& gap : after) {
        const auto same = [&](const auto& one) { return one.operation == gap.operation; };
        if (std::ranges::none_of(before.steps, same) && std::ranges::none_of(gaps, same))
            gaps.push_back(std::move(gap));
    }
    return gaps;
}

std::vector<tag_gap> unapplied_operations(const line_model& entities,
                                          const std::vector<me_id>& path)
{
    std::vector<tag_gap> gaps;
    for (const me_id operation : entities.tag_operations()) {
        const auto place = place_of(entities, operation);
        if (!place)
            gaps.push_back({operation, placement_fault(entities, operation),
                            placement_sources(entities, operation)});
        else if (std::ranges::find(path, *place) != path.end())
            gaps.push_back({operation, "it belongs to " + to_text(*place),
                            placement_sources(entities, operation)});
    }
    return gaps;
}

} // namespace gponflow
