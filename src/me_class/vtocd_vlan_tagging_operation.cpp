// SPDX-License-Identifier: GPL-2.0-only
#include "vtocd_vlan_tagging_operation.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

GPON_MODULE_DATA constinit list_head gpon_vtocd_list = {&gpon_vtocd_list, &gpon_vtocd_list};

constinit const gpon_me_list_info vtocdListInfo = {gpon::dump_id_only,
                                                   sizeof(gpon_raw_vtocd),
                                                   gpon::NOTHING_RELATED,
                                                   gpon::table_bytes(gpon::NOTHING_RELATED),
                                                   nullptr,
                                                   gpon::NO_ATTR_OPS,
                                                   &gpon_vtocd_list};

i32 vtocd_operation(const sk_buff*, const op_info*)
{
    log_trace("[%s][%d]: Enter\n");
    return 0;
}
