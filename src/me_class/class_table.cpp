// SPDX-License-Identifier: GPL-2.0-only
#include "../me/class_table.h"

#include "classes.h"

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
