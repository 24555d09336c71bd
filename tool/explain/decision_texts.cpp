// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/decision_texts.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "include/mapper_values.h"
#include "include/tci.h"
#include "include/tp_types.h"
#include "tool/model/tag_set.h"
#include "tool/tagging/frame_priority.h"

namespace gponflow {

namespace {

constexpr const char* on_uni_side = "a port on the UNI side, not on the path of this frame";
constexpr const char* on_ani_side = "a port on the ANI side, not on the path of this frame";
constexpr const char* does_not_exist = "it does not exist";
constexpr const char* downstream_only = "its direction is 2, downstream only";
constexpr const char* path_ends = "the path ends here";

// Where the priority of an untagged frame comes from, and the priority.
std::pair<std::string, uint8_t> untagged_priority(const gpon_raw_mapper& me, const bytes& frame)
{
    const int dscp = dscp_of(frame);
    if (dscp < 0)
        return {"untagged, without a usable DSCP", uint8_t{0}};
    return {"untagged, DSCP " + std::to_string(dscp),
            mapped_priority(me.dscp2pbitMap, static_cast<unsigned>(dscp))};
}

} // namespace

std::string plural_reason(const std::string& reason)
{
    static const std::map<std::string, std::string> plurals = {
        {filter_drops, "their VLAN filters drop the frame"},
        {filter_blocks, "their VLAN filters block the frame at these ports"},
        {filter_on_uni_side, "their VLAN filters are on the UNI side, where they drop every frame"},
        {not_selected, "the mapper does not select them for this frame"},
        {unreadable, "their VLAN filters or mappers cannot be read"},
        {on_uni_side, "ports on the UNI side, not on the path of this frame"},
        {on_ani_side, "ports on the ANI side, not on the path of this frame"},
        {does_not_exist, "they do not exist"},
        {downstream_only, "their direction is 2, downstream only"},
        {step_failed, "the steps failed, for example for lack of memory"},
        {path_ends, "the path ends there"}};
    const auto found = plurals.find(reason);
    return found == plurals.end() ? reason : found->second;
}

std::string filter_text(const line_model& entities, me_id port, uint16_t tci, bool tagged)
{
    const me_instance* filter = entities.first_related(port, me_class::vtfd);
    if (!filter)
        return {};
    const auto me = filter->as<gpon_raw_vtfd>();
    std::string list;
    for (const uint16_t entry : listed_tcis(me))
        list += (list.empty() ? "" : ", ") + hex_text(entry);
    const std::string of_frame = tagged ? "TCI " + hex_text(tci) + " (VLAN " +
                                              std::to_string(gpon::vlan_of(tci)) + ", priority " +
                                              std::to_string(gpon::priority_of(tci)) + ")"
                                        : "untagged";
    return "filter " + hex_text(filter->id.instance) + ": code " +
           hex_text(me.forwardOperation, 2) + ", " + of_frame + ", list {" + list + "}";
}

std::string priority_text(const line_model& entities, me_id gem_iw, uint16_t tci,
                          const bytes* frame)
{
    const me_instance* mapper = entities.first_related(gem_iw, me_class::mapper);
    if (!mapper)
        return "priority of TCI " + hex_text(tci);
    const auto me = mapper->as<gpon_raw_mapper>();
    const std::string name = "mapper " + hex_text(mapper->id.instance) + ": ";
    std::string of_frame = tci ? "TCI " + hex_text(tci) : std::string("untagged");
    uint8_t priority = tci ? gpon::priority_of(tci) : me.defaultPbit;
    if (tci == 0 && me.unmark_frame_opt == gpon::FROM_DSCP) {
        if (!frame)
            return name + "untagged, priority by DSCP";
        std::tie(of_frame, priority) = untagged_priority(me, *frame);
    } else if (tci == 0 && me.unmark_frame_opt != gpon::FROM_DEFAULT_PBIT) {
        return name + "untagged, unmark_frame_opt " + std::to_string(me.unmark_frame_opt);
    }
    return name + of_frame + ", priority " + std::to_string(priority) + " selects GEM IW TP " +
           hex_text(selected_gem_iw(me, priority));
}

std::string side_text(const line_model& entities, me_id port)
{
    const me_instance* me = entities.find(port);
    const uint8_t type = me ? me->as<gpon_raw_mbpcd>().tpType : uint8_t{0};
    const tp_side side = gpon::bridge_port_tp(type).side;
    if (side == tp_side::uni)
        return on_uni_side;
    if (side == tp_side::ani)
        return on_ani_side;
    return "a port on neither side: its tpType is " + std::to_string(type);
}

std::string broken_link_text(const line_model& entities, const me_pointer& pointer, me_id at)
{
    std::string text = pointer.attribute + " " + hex_text(pointer.to.instance);
    if (pointer.from != at)
        text += " of " + to_text(pointer.from);
    const me_instance* from = entities.find(pointer.from);
    if (from && pointer.attribute == "tpPointer" && pointer.from.class_id == me_class::mbpcd)
        text += " (tpType " + std::to_string(from->as<gpon_raw_mbpcd>().tpType) + ")";
    text += " names " + to_text(pointer.to);
    switch (entities.state(pointer)) {
    case pointer_state::missing:
        return text + ", which does not exist";
    case pointer_state::overflowed:
        return text + ", which has no free entry for it";
    default:
        return text + ", but the link is not recorded";
    }
}

std::string end_text(const line_model& entities, me_id at)
{
    const me_instance* me = entities.find(at);
    if (!me)
        return does_not_exist;
    if (at.class_id == me_class::gemctp && me->as<gpon_raw_gemctp>().direction == gem_downstream)
        return downstream_only;
    return path_ends;
}

std::string failure_text(const line_model& entities, me_id at)
{
    return entities.find(at) ? step_failed : does_not_exist;
}

} // namespace gponflow
