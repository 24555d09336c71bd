// SPDX-License-Identifier: GPL-2.0-only
#include "evtocd_extended_vlan_tagging_operation.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

GPON_MODULE_DATA constinit list_head gpon_evtocd_list = {&gpon_evtocd_list, &gpon_evtocd_list};

constinit const gpon_me_list_info evtocdListInfo = {gpon::dump_id_only,
                                                    sizeof(gpon_raw_evtocd),
                                                    gpon::NOTHING_RELATED,
                                                    gpon::table_bytes(gpon::NOTHING_RELATED),
                                                    nullptr,
                                                    gpon::NO_ATTR_OPS,
                                                    &gpon_evtocd_list};

i32 evtocd_operation(const sk_buff*, const op_info*)
{
    log_trace("[%s][%d]: Enter\n");
    return 0;
}
