// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/omci_attributes.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <vector>

#include "tool/model/class_records.h"

namespace gponflow::omci {

namespace {

constexpr bool sbc = true;    // set-by-create
constexpr bool later = false; // read-only, or written by a set only
constexpr bool table = true;

// 9.5.1
constexpr attribute pptp_ethernet_uni[] = {
    {"expected type", 1, later, {}},
    {"sensed type", 1, later, {}},
    {"auto detection configuration", 1, later, {}},
    {"Ethernet loopback configuration", 1, later, {}},
    {"administrative state", 1, later, {}},
    {"operational state", 1, later, {}},
    {"configuration ind", 1, later, {}},
    {"max frame size", 2, later, {}},
    {"DTE or DCE ind", 1, later, {}},
    {"pause time", 2, later, {}},
    {"bridged or IP ind", 1, later, {}},
    {"ARC", 1, later, {}},
    {"ARC interval", 1, later, {}},
    {"PPPoE filter", 1, later, {}},
    {"power control", 1, later, {}},
};

// 9.3.1
constexpr attribute bridge_service_profile[] = {
    {"spanning tree ind", 1, sbc, {}},
    {"learning ind", 1, sbc, {}},
    {"port bridging ind", 1, sbc, "uniBridgingEnable"},
    {"priority", 2, sbc, {}},
    {"max age", 2, sbc, {}},
    {"hello time", 2, sbc, "helloTime"},
    {"forward delay", 2, sbc, {}},
    {"unknown MAC address discard", 1, sbc, {}},
    {"MAC learning depth", 1, sbc, {}},
    {"dynamic filtering ageing time", 4, sbc, "dynFilterAgingTime"},
};

// 9.3.4
constexpr attribute bridge_port[] = {
    {"bridge id pointer", 2, sbc, "bridgeID"},
    {"port num", 1, sbc, {}},
    {"TP type", 1, sbc, "tpType"},
    {"TP pointer", 2, sbc, "tpPointer"},
    {"port priority", 2, sbc, {}},
    {"port path cost", 2, sbc, {}},
    {"port spanning tree ind", 1, sbc, {}},
    {"deprecated 1", 1, sbc, {}},
    {"deprecated 2", 1, sbc, {}},
    {"port MAC address", 6, later, {}},
    {"outbound TD pointer", 2, later, {}},
    {"inbound TD pointer", 2, later, {}},
    {"MAC learning depth", 1, sbc, {}},
};

// 9.3.12
constexpr attribute vlan_tagging_operation[] = {
    {"upstream VLAN tagging operation mode", 1, sbc, {}},
    {"upstream VLAN tag TCI value", 2, sbc, {}},
    {"downstream VLAN tagging operation mode", 1, sbc, {}},
    {"association type", 1, sbc, {}},
    {"associated ME pointer", 2, sbc, {}},
};

// 9.3.11
constexpr attribute vlan_tagging_filter[] = {
    {"VLAN filter list", 24, sbc, "vlanFilterList"},
    {"forward operation", 1, sbc, "forwardOperation"},
    {"number of entries", 1, sbc, "vlanFilterNums"},
};

// 9.3.10
constexpr attribute mapper_service_profile[] = {
    {"TP pointer", 2, sbc, "tpPointer"},
    {"interwork TP pointer for P-bit priority 0", 2, sbc, "pbit_GemIWTP"},
    {"interwork TP pointer for P-bit priority 1", 2, sbc, "pbit_GemIWTP", 1},
    {"interwork TP pointer for P-bit priority 2", 2, sbc, "pbit_GemIWTP", 2},
    {"interwork TP pointer for P-bit priority 3", 2, sbc, "pbit_GemIWTP", 3},
    {"interwork TP pointer for P-bit priority 4", 2, sbc, "pbit_GemIWTP", 4},
    {"interwork TP pointer for P-bit priority 5", 2, sbc, "pbit_GemIWTP", 5},
    {"interwork TP pointer for P-bit priority 6", 2, sbc, "pbit_GemIWTP", 6},
    {"interwork TP pointer for P-bit priority 7", 2, sbc, "pbit_GemIWTP", 7},
    {"unmarked frame option", 1, sbc, "unmark_frame_opt"},
    {"DSCP to P-bit mapping", 24, later, "dscp2pbitMap"},
    {"default P-bit assumption", 1, sbc, "defaultPbit"},
    {"TP type", 1, sbc, "tpType"},
};

// 9.3.13
constexpr attribute extended_vlan_tagging[] = {
    {"association type", 1, sbc, {}},
    {"received frame VLAN tagging operation table max size", 2, later, {}},
    {"input TPID", 2, later, {}},
    {"output TPID", 2, later, {}},
    {"downstream mode", 1, later, {}},
    {"received frame VLAN tagging operation table", 16, later, {}, 0, table},
    {"associated ME pointer", 2, sbc, {}},
    {"DSCP to P-bit mapping", 24, later, {}},
    {"enhanced mode", 1, later, {}},
    {"enhanced received frame classification and processing table", 28, later, {}, 0, table},
};

// 9.2.2
constexpr attribute t_cont[] = {
    {"alloc-ID", 2, later, "allocID"},
    {"deprecated", 1, later, {}},
    {"policy", 1, later, "policy"},
};

// 9.2.4
constexpr attribute gem_interworking_tp[] = {
    {"GEM port network CTP connectivity pointer", 2, sbc, "gemCTPInstID"},
    {"interworking option", 1, sbc, {}},
    {"service profile pointer", 2, sbc, {}},
    {"interworking TP pointer", 2, sbc, {}},
    {"PPTP counter", 1, later, {}},
    {"operational state", 1, later, {}},
    {"GAL profile pointer", 2, sbc, {}},
    {"GAL loopback configuration", 1, later, {}},
};

// 9.2.3
constexpr attribute gem_port_network_ctp[] = {
    {"port-ID", 2, sbc, "portID"},
    {"T-CONT pointer", 2, sbc, "tcontID"},
    {"direction", 1, sbc, "direction"},
    {"traffic management pointer for upstream", 2, sbc, "trafficMgrPtrUp"},
    {"traffic descriptor profile pointer for upstream", 2, sbc, "TDProPtrUp"},
    {"UNI counter", 1, later, {}},
    {"priority queue pointer for downstream", 2, sbc, {}},
    {"encryption state", 1, later, {}},
    {"traffic descriptor profile pointer for downstream", 2, sbc, "TDProPtrDown"},
    {"encryption key ring", 1, sbc, {}},
};

// 9.2.10
constexpr attribute priority_queue[] = {
    {"queue configuration option", 1, later, {}},
    {"maximum queue size", 2, later, {}},
    {"allocated queue size", 2, later, {}},
    {"discard-block counter reset interval", 2, later, {}},
    {"threshold value for discarded blocks", 2, later, {}},
    {"related port", 4, later, "relatedPort"},
    {"traffic scheduler pointer", 2, later, "tsPointer"},
    {"weight", 1, later, "weight"},
    {"back pressure operation", 2, later, {}},
    {"back pressure time", 4, later, {}},
    {"back pressure occur queue threshold", 2, later, {}},
    {"back pressure clear queue threshold", 2, later, {}},
    {"packet drop queue thresholds", 8, later, {}},
    {"packet drop max_p", 2, later, {}},
    {"queue drop w_q", 1, later, {}},
    {"drop precedence colour marking", 1, later, {}},
};

// 9.2.11
constexpr attribute traffic_scheduler[] = {
    {"T-CONT pointer", 2, later, "tcontPointer"},
    {"traffic scheduler pointer", 2, later, "tsPointer"},
    {"policy", 1, later, "policy"},
    {"priority/weight", 1, later, "weight"},
};

// 9.2.12
constexpr attribute traffic_descriptor[] = {
    {"CIR", 4, sbc, "cir"},
    {"PIR", 4, sbc, "pir"},
    {"CBS", 4, sbc, "cbs"},
    {"PBS", 4, sbc, "pbs"},
    {"colour mode", 1, sbc, "colourMode"},
    {"ingress colour marking", 1, sbc, "ingressColourMode"},
    {"egress colour marking", 1, sbc, "egressColourMode"},
    {"meter type", 1, sbc, "meterType"},
};

// 9.2.5
constexpr attribute multicast_gem_interworking_tp[] = {
    {"GEM port network CTP connectivity pointer", 2, sbc, "GemCTPInstID"},
    {"interworking option", 1, sbc, {}},
    {"service profile pointer", 2, sbc, {}},
    {"not used 1", 2, sbc, {}},
    {"PPTP counter", 1, later, {}},
    {"operational state", 1, later, {}},
    {"GAL profile pointer", 2, sbc, {}},
    {"not used 2", 1, sbc, {}},
    {"IPv4 multicast address table", 12, later, {}, 0, table},
    {"IPv6 multicast address table", 24, later, {}, 0, table},
};

// 9.5.5
constexpr attribute virtual_ethernet_interface_point[] = {
    {"administrative state", 1, later, {}}, {"operational state", 1, later, {}},
    {"interdomain name", 25, later, {}},    {"TCP/UDP pointer", 2, later, {}},
    {"IANA assigned port", 2, later, {}},
};

constexpr attribute_class classes[] = {
    {me_class::pptp, pptp_ethernet_uni},
    {me_class::mbsp, bridge_service_profile},
    {me_class::mbpcd, bridge_port},
    {me_class::vtocd, vlan_tagging_operation},
    {me_class::vtfd, vlan_tagging_filter},
    {me_class::mapper, mapper_service_profile},
    {me_class::evtocd, extended_vlan_tagging},
    {me_class::tcont, t_cont},
    {me_class::gemiw, gem_interworking_tp},
    {me_class::gemctp, gem_port_network_ctp},
    {me_class::pq, priority_queue},
    {me_class::ts, traffic_scheduler},
    {me_class::td, traffic_descriptor},
    {me_class::multigemiw, multicast_gem_interworking_tp},
    {me_class::veip, virtual_ethernet_interface_point},
};

// Of a class without a row above: a message carries the fields of the record, in their order.
std::vector<attribute> stored_attributes(const class_record& cls)
{
    std::vector<attribute> all;
    for (const gpon_me_field& field : cls.fields.subspan(1)) // behind the instance
        all.push_back({.name = field.name,
                       .bytes = static_cast<uint8_t>(field.width * field.count),
                       .set_by_create = !cls.created_by_links,
                       .field = field.name});
    all.resize(std::min(all.size(), attributes_per_mask));
    return all;
}

std::vector<attribute_class> all_classes()
{
    static std::deque<std::vector<attribute>> stored;
    std::vector<attribute_class> all(std::begin(classes), std::end(classes));
    for (const class_record& cls : me_classes())
        if (std::ranges::find(classes, cls.id, &attribute_class::id) == std::end(classes))
            all.push_back({cls.id, stored.emplace_back(stored_attributes(cls))});
    std::ranges::sort(all, {}, &attribute_class::id);
    return all;
}

} // namespace

std::span<const attribute_class> attribute_classes()
{
    static const std::vector<attribute_class> all = all_classes();
    return all;
}

const attribute_class* find_attribute_class(me_class id)
{
    const std::span<const attribute_class> all = attribute_classes();
    const auto found = std::ranges::find(all, id, &attribute_class::id);
    return found == all.end() ? nullptr : &*found;
}

uint16_t set_by_create_mask(const attribute_class& cls)
{
    uint16_t mask = 0;
    for (size_t i = 0; i < cls.attributes.size(); ++i) {
        if (cls.attributes[i].set_by_create)
            mask |= attribute_bit(i);
    }
    return mask;
}

} // namespace gponflow::omci
