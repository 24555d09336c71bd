// SPDX-License-Identifier: GPL-2.0-only
// VLAN filters, and the types of bridge ports.
#include <algorithm>
#include <optional>
#include <set>

#include "include/tp_types.h"
#include "tool/check/families.h"
#include "tool/model/tag_set.h"
#include "tool/text/hex_text.h"

namespace gponflow {

namespace {

// "1, 11".
std::string tp_types_of(tp_side side)
{
    std::string text;
    for (const tp_type& type : BRIDGE_PORT_TP_TYPES)
        if (type.side == side)
            text += (text.empty() ? "" : ", ") + std::to_string(type.value);
    return text;
}

void check_bridge_port(const me_instance& port, finding_list& found)
{
    if (type_of(port).side != tp_side::none)
        return;
    found.add(at(port, {"tpType"}), "no-side",
              "tpType " + std::to_string(port.as<gpon_raw_mbpcd>().tpType) +
                  " is neither a UNI type (" + tp_types_of(tp_side::uni) + ") nor an ANI type (" +
                  tp_types_of(tp_side::ani) + "): no frame passes",
              "set tpType and tpPointer to the termination point behind the port");
}

void check_list(const me_instance& filter, const gpon_raw_vtfd& me, finding_list& found)
{
    const uint16_t mask = compared_bits(me.forwardOperation);
    const std::span<const uint16_t> list = listed_tcis(me);
    for (size_t i = 0; mask != 0 && i < list.size(); ++i)
        for (size_t earlier = 0; earlier < i; ++earlier) {
            if (((list[i] ^ list[earlier]) & mask) != 0)
                continue;
            found.add(at(filter, "vlanFilterList", i), "shadowed-entry",
                      "entry " + std::to_string(i) + " of vlanFilterList (" + hex_text(list[i], 4) +
                          ") equals entry " + std::to_string(earlier) + " (" +
                          hex_text(list[earlier], 4) + ") in the bits that forwardOperation " +
                          hex_text(me.forwardOperation, 2) + " compares",
                      "delete it, or correct it");
            break;
        }
}

void check_result_of(const me_instance& filter, const gpon_raw_vtfd& me, finding_list& found)
{
    if (is_forward_operation(me.forwardOperation) && passed_by(me).none())
        found.add(at(filter, {"forwardOperation", "vlanFilterNums", "vlanFilterList"}),
                  "filter-passes-nothing",
                  "forwardOperation " + hex_text(me.forwardOperation, 2) + " with " +
                      std::to_string(me.vlanFilterNums) + " entries drops every frame",
                  "add the VLANs of the service to vlanFilterList and count them in "
                  "vlanFilterNums");
}

tag_set accepted_by_any_port(const line_model& entities)
{
    tag_set all;
    for (const me_instance& port : entities.instances(me_class::mbpcd))
        all |= accepted_upstream(entities, port);
    return all;
}

bool passes_whole_tags(const gpon_raw_vtfd& me)
{
    const tag_set passed = passed_by(me);
    return compared_bits(me.forwardOperation) == 0xffff && passed.count() < passed.size() / 2;
}

// VLANs of which frames with some priorities pass nowhere, because a filter compares the priority.
void check_priorities(const line_model& entities, finding_list& found)
{
    std::optional<tag_set> accepted; // costly, and seldom needed
    for (const me_instance& filter : entities.instances(me_class::vtfd)) {
        const auto me = filter.as<gpon_raw_vtfd>();
        if (!passes_whole_tags(me))
            continue;
        if (!accepted)
            accepted = accepted_by_any_port(entities);
        std::set<unsigned> vlans;
        for (const uint16_t tci : listed_tcis(me))
            vlans.insert(gpon::vlan_of(tci));
        for (const unsigned vlan : vlans) {
            const unsigned which = priorities_of(*accepted, vlan);
            if (which != 0 && which != every_priority)
                found.add(at(filter, {"forwardOperation", "vlanFilterList"}),
                          "filter-compares-priority",
                          "forwardOperation " + hex_text(me.forwardOperation, 2) +
                              " compares the whole tag: VLAN " + std::to_string(vlan) +
                              " passes with priority " + priorities_text(which) + " only",
                          "use an operation that compares the VLAN (0x04, 0x10), or list the tag "
                          "with the other priorities");
        }
    }
}

void check_filter(const line_model& entities, const me_instance& filter, finding_list& found)
{
    const auto me = filter.as<gpon_raw_vtfd>();
    if (!is_forward_operation(me.forwardOperation))
        found.add(at(filter, {"forwardOperation"}), "unknown-operation",
                  "forwardOperation " + hex_text(me.forwardOperation, 2) +
                      " is not defined: every frame is dropped",
                  "use 0x00 to 0x21");
    if (me.vlanFilterNums > std::size(me.vlanFilterList))
        found.add(at(filter, {"vlanFilterNums"}), "list-too-long",
                  "vlanFilterNums is " + std::to_string(me.vlanFilterNums) + ", but the list has " +
                      std::to_string(std::size(me.vlanFilterList)) + " entries",
                  "set it to the number of entries in use");
    check_list(filter, me, found);
    check_result_of(filter, me, found);
    const me_instance* port = entities.find({me_class::mbpcd, filter.id.instance});
    if (port && port->records(filter.id) && type_of(*port).side == tp_side::uni)
        found.add(filter, "filter-on-uni-side",
                  "its bridge port is on the UNI side, where a filter drops every frame",
                  "delete it, or use the id of the bridge port on the ANI side");
}

} // namespace

void check_filters(const line_model& entities, finding_list& found)
{
    for (const me_instance& port : entities.instances(me_class::mbpcd))
        check_bridge_port(port, found);
    for (const me_instance& filter : entities.instances(me_class::vtfd))
        check_filter(entities, filter, found);
    check_priorities(entities, found);
}

} // namespace gponflow
