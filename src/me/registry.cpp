// SPDX-License-Identifier: GPL-2.0-only
#include "registry.h"

#include "../base/log.h"
#include "../me_class/classes.h"

constinit const gpon_me_entry me_table[GPON_ME_ROWS] = {
    {},
    {11, "PPTP_ETHERNET_UNI", 0, &pptpListInfo, &pptpFwdOp},
    {45, "MAC_BRIDGE_SERVICE_PROFILE", 1, &mbspListInfo, &mbspFwdOp},
    {47, "MAC_BRIDGE_PORT_CON_DATA", 1, &mbpcdListInfo, &mbpcdFwdOp},
    {84, "VLAN_TAG_FILTER_DATA", 1, &vtfdListInfo, nullptr},
    {130, "802_1P_MAPPER", 1, &mapperListInfo, &mapperFwdOp},
    {266, "GEM_INTERWORK_TP", 1, &gemIwListInfo, &gemIwFwdOp},
    {268, "GEM_PORT_CTP", 1, &gemCtpListInfo, &gemCtpFwdOp},
    {329, "VIRTUAL_ETHERNET_INTERFACE_POINT", 0, &veipListInfo, &veipFwdOp},
    {281, "MULTICAST_GEM_INTERWORK_TP", 1, &multiGemIwListInfo, &multiGemIwFwdOp},
    {262, "T_CONT", 0, &tcontListInfo, &tcontFwdOp},
    {278, "TRAFFIC_SCHEDULER", 0, &tsListInfo, &tsFwdOp},
    {280, "TRAFFIC_DESCRIPTOR", 1, &tdListInfo, &tdFwdOp},
    {277, "PRIORITY_QUEUE", 0, &priorityQListInfo, &priorityQFwdOp},
    {78, "VLAN_TAG_OPERATE", 1, &vtocdListInfo, nullptr},
    {171, "VLAN_TAG_EXTEND_OPERATE", 1, &evtocdListInfo, nullptr},
};

namespace {

// Class id to row of me_table, 0 for a class that is not mirrored.
GPON_MODULE_DATA constinit u16 class_id_map[GPON_ME_CLASS_IDS] = {};

bool is_reserved(u16 class_id)
{
    return (class_id >= 240 && class_id <= 255) || (class_id >= 350 && class_id <= 399) ||
           class_id >= GPON_ME_CLASS_IDS;
}

} // namespace

const gpon_me_entry* gpon::mirrored_class(u16 class_id)
{
    const u16 row = class_id < GPON_ME_CLASS_IDS ? class_id_map[class_id] : u16{0};
    return row ? &me_table[row] : nullptr;
}

void gpon_flow_init_me_map(void)
{
    gpon::clear_bytes(class_id_map, sizeof(class_id_map));
    for (u16 row = 1; row < GPON_ME_ROWS; ++row) {
        const u16 class_id = me_table[row].class_id;
        if (class_id < GPON_ME_CLASS_IDS)
            class_id_map[class_id] = row;
        else
            log_error("Enter gpon_flow_init_me_map classId=%d greater %d\n", class_id,
                      GPON_ME_CLASS_IDS);
    }
}

const gpon_me_entry* gpon_flow_me_get_by_classid(u16 class_id)
{
    if (is_reserved(class_id)) {
        log_error("[%s][%d]unkown reserved ME(%d) .\n", class_id);
        return nullptr;
    }
    const u16 row = class_id_map[class_id];
    log_trace("[%s][%d]: classId = %d, me_index = %d.\n", class_id, row);
    return row ? &me_table[row] : nullptr;
}
