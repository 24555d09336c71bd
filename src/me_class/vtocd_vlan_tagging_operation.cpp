// SPDX-License-Identifier: GPL-2.0-only
#include "vtocd_vlan_tagging_operation.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

constexpr gpon_me_field FIELDS[] = {GPON_FIELD(gpon_raw_vtocd, instID, hex)};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_vtocd_list = {&gpon_vtocd_list, &gpon_vtocd_list};

constinit const gpon_me_list_info vtocdListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_vtocd),
    .related_info = gpon::NOTHING_RELATED,
    .related_info_size = sizeof(gpon::NOTHING_RELATED),
    .attr_ops = gpon::NO_ATTR_OPS,
    .head = &gpon_vtocd_list,
    .fields = FIELDS,
};

i32 vtocd_operation(const sk_buff*, const op_info*)
{
    log_trace("[%s][%d]: Enter\n");
    return 0;
}
