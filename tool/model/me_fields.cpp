// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/me_fields.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstddef>
#include <type_traits>

#include "include/uapi/gpon_flow.h"

static_assert(std::endian::native == std::endian::little, "raw records are little-endian");

namespace gponflow {

namespace {

template <typename member> constexpr me_field describe(std::string_view name, size_t offset)
{
    using value = std::remove_extent_t<member>;
    static_assert(std::is_unsigned_v<value>);
    constexpr bool array = std::is_array_v<member>;
    return {name, static_cast<uint16_t>(offset), sizeof(value),
            array ? std::extent_v<member> : size_t{1}, array && sizeof(value) == 1};
}

// The spelling of a member is its name in a scenario: only the preprocessor can give both.
#define GPON_FIELD(record, member) \
    describe<decltype(record::member)>(#member, offsetof(record, member))

constexpr me_field pptp_fields[] = {GPON_FIELD(gpon_raw_pptp, instID)};
constexpr me_field mbsp_fields[] = {
    GPON_FIELD(gpon_raw_mbsp, instID),
    GPON_FIELD(gpon_raw_mbsp, uniBridgingEnable),
    GPON_FIELD(gpon_raw_mbsp, helloTime),
    GPON_FIELD(gpon_raw_mbsp, dynFilterAgingTime),
};
constexpr me_field mbpcd_fields[] = {
    GPON_FIELD(gpon_raw_mbpcd, instID),
    GPON_FIELD(gpon_raw_mbpcd, bridgeID),
    GPON_FIELD(gpon_raw_mbpcd, tpType),
    GPON_FIELD(gpon_raw_mbpcd, tpPointer),
};
constexpr me_field vtfd_fields[] = {
    GPON_FIELD(gpon_raw_vtfd, instID),
    GPON_FIELD(gpon_raw_vtfd, vlanFilterList),
    GPON_FIELD(gpon_raw_vtfd, forwardOperation),
    GPON_FIELD(gpon_raw_vtfd, vlanFilterNums),
};
constexpr me_field mapper_fields[] = {
    GPON_FIELD(gpon_raw_mapper, instID),       GPON_FIELD(gpon_raw_mapper, tpPointer),
    GPON_FIELD(gpon_raw_mapper, pbit_GemIWTP), GPON_FIELD(gpon_raw_mapper, unmark_frame_opt),
    GPON_FIELD(gpon_raw_mapper, dscp2pbitMap), GPON_FIELD(gpon_raw_mapper, defaultPbit),
    GPON_FIELD(gpon_raw_mapper, tpType),
};
constexpr me_field gemiw_fields[] = {
    GPON_FIELD(gpon_raw_gemiw, instID),
    GPON_FIELD(gpon_raw_gemiw, gemCTPInstID),
};
constexpr me_field gemctp_fields[] = {
    GPON_FIELD(gpon_raw_gemctp, instID),          GPON_FIELD(gpon_raw_gemctp, portID),
    GPON_FIELD(gpon_raw_gemctp, tcontID),         GPON_FIELD(gpon_raw_gemctp, direction),
    GPON_FIELD(gpon_raw_gemctp, trafficMgrPtrUp), GPON_FIELD(gpon_raw_gemctp, TDProPtrUp),
    GPON_FIELD(gpon_raw_gemctp, TDProPtrDown),
};
constexpr me_field veip_fields[] = {GPON_FIELD(gpon_raw_veip, instID)};
constexpr me_field multigemiw_fields[] = {
    GPON_FIELD(gpon_raw_multigemiw, instID),
    GPON_FIELD(gpon_raw_multigemiw, GemCTPInstID),
};
constexpr me_field tcont_fields[] = {
    GPON_FIELD(gpon_raw_tcont, instID),
    GPON_FIELD(gpon_raw_tcont, allocID),
    GPON_FIELD(gpon_raw_tcont, policy),
};
constexpr me_field ts_fields[] = {
    GPON_FIELD(gpon_raw_ts, instID),    GPON_FIELD(gpon_raw_ts, tcontPointer),
    GPON_FIELD(gpon_raw_ts, tsPointer), GPON_FIELD(gpon_raw_ts, policy),
    GPON_FIELD(gpon_raw_ts, weight),
};
constexpr me_field td_fields[] = {
    GPON_FIELD(gpon_raw_td, instID),
    GPON_FIELD(gpon_raw_td, cir),
    GPON_FIELD(gpon_raw_td, pir),
    GPON_FIELD(gpon_raw_td, cbs),
    GPON_FIELD(gpon_raw_td, pbs),
    GPON_FIELD(gpon_raw_td, colourMode),
    GPON_FIELD(gpon_raw_td, ingressColourMode),
    GPON_FIELD(gpon_raw_td, egressColourMode),
    GPON_FIELD(gpon_raw_td, meterType),
};
constexpr me_field pq_fields[] = {
    GPON_FIELD(gpon_raw_pq, instID),
    GPON_FIELD(gpon_raw_pq, relatedPort),
    GPON_FIELD(gpon_raw_pq, tsPointer),
    GPON_FIELD(gpon_raw_pq, weight),
};
constexpr me_field vtocd_fields[] = {GPON_FIELD(gpon_raw_vtocd, instID)};
constexpr me_field evtocd_fields[] = {GPON_FIELD(gpon_raw_evtocd, instID)};

constexpr me_field default_configuration_fields[] = {
    GPON_FIELD(gpon_flow_cfg_data, upstream_queue_num),
    GPON_FIELD(gpon_flow_cfg_data, related_port_boundary),
    GPON_FIELD(gpon_flow_cfg_data, default_ts_pointer),
    GPON_FIELD(gpon_flow_cfg_data, default_weight),
    GPON_FIELD(gpon_flow_cfg_data, queues_per_uni),
    GPON_FIELD(gpon_flow_cfg_data, queues_per_tcont),
    GPON_FIELD(gpon_flow_cfg_data, downstream_queue_base),
    GPON_FIELD(gpon_flow_cfg_data, tcont_base),
    GPON_FIELD(gpon_flow_cfg_data, traffic_mgmt_option),
};

#undef GPON_FIELD

constexpr me_class_fields class_table[] = {
    {11, "PPTP_ETHERNET_UNI", sizeof(gpon_raw_pptp), pptp_fields},
    {45, "MAC_BRIDGE_SERVICE_PROFILE", sizeof(gpon_raw_mbsp), mbsp_fields},
    {47, "MAC_BRIDGE_PORT_CON_DATA", sizeof(gpon_raw_mbpcd), mbpcd_fields},
    {84, "VLAN_TAG_FILTER_DATA", sizeof(gpon_raw_vtfd), vtfd_fields},
    {130, "802_1P_MAPPER", sizeof(gpon_raw_mapper), mapper_fields},
    {266, "GEM_INTERWORK_TP", sizeof(gpon_raw_gemiw), gemiw_fields},
    {268, "GEM_PORT_CTP", sizeof(gpon_raw_gemctp), gemctp_fields},
    {329, "VIRTUAL_ETHERNET_INTERFACE_POINT", sizeof(gpon_raw_veip), veip_fields},
    {281, "MULTICAST_GEM_INTERWORK_TP", sizeof(gpon_raw_multigemiw), multigemiw_fields},
    {262, "T_CONT", sizeof(gpon_raw_tcont), tcont_fields},
    {278, "TRAFFIC_SCHEDULER", sizeof(gpon_raw_ts), ts_fields},
    {280, "TRAFFIC_DESCRIPTOR", sizeof(gpon_raw_td), td_fields},
    {277, "PRIORITY_QUEUE", sizeof(gpon_raw_pq), pq_fields},
    {78, "VLAN_TAG_OPERATE", sizeof(gpon_raw_vtocd), vtocd_fields},
    {171, "VLAN_TAG_EXTEND_OPERATE", sizeof(gpon_raw_evtocd), evtocd_fields},
};

static_assert(sizeof(gpon_raw_mapper) == 48 && offsetof(gpon_raw_mapper, dscp2pbitMap) == 21);
static_assert(sizeof(gpon_raw_mbsp) == 8 && sizeof(gpon_raw_mbpcd) == 8);
static_assert(sizeof(gpon_raw_gemctp) == 20 && sizeof(gpon_raw_gemiw) == 4);
static_assert(sizeof(gpon_raw_multigemiw) == 4 && sizeof(gpon_raw_pptp) == 2);
static_assert(sizeof(gpon_raw_veip) == 2 && sizeof(gpon_raw_pq) == 12);
static_assert(sizeof(gpon_raw_tcont) == 6 && sizeof(gpon_raw_td) == 24);
static_assert(sizeof(gpon_raw_ts) == 8 && sizeof(gpon_raw_vtfd) == 28);
static_assert(sizeof(gpon_raw_vtocd) == 2 && sizeof(gpon_raw_evtocd) == 2);
static_assert(sizeof(gpon_flow_cfg_data) == 40);
static_assert(offsetof(gpon_flow_cfg_data, upstream_queue_num) == 8);
static_assert(offsetof(gpon_flow_cfg_data, traffic_mgmt_option) == 36);
static_assert(sizeof(gpon_me_cmd) == 16 && sizeof(gpon_flow_cmd) == 64);

bool same_letters(std::string_view left, std::string_view right)
{
    return std::ranges::equal(
        left, right, {}, [](unsigned char c) { return std::toupper(c); },
        [](unsigned char c) { return std::toupper(c); });
}

} // namespace

std::span<const me_class_fields> me_classes()
{
    return class_table;
}

const me_class_fields* find_me_class(uint16_t id)
{
    const auto* found = std::ranges::find(class_table, id, &me_class_fields::id);
    return found == std::end(class_table) ? nullptr : found;
}

const me_class_fields* find_me_class(std::string_view name)
{
    const auto* found = std::ranges::find_if(
        class_table, [name](const me_class_fields& row) { return same_letters(row.name, name); });
    return found == std::end(class_table) ? nullptr : found;
}

std::span<const me_field> cfg_fields()
{
    return default_configuration_fields;
}

const me_field* find_field(std::span<const me_field> fields, std::string_view name)
{
    const auto found = std::ranges::find(fields, name, &me_field::name);
    return found == fields.end() ? nullptr : &*found;
}

} // namespace gponflow
