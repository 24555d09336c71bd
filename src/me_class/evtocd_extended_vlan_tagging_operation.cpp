// SPDX-License-Identifier: GPL-2.0-only
#include "evtocd_extended_vlan_tagging_operation.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

constexpr gpon_me_field FIELDS[] = {GPON_FIELD(gpon_raw_evtocd, instID, hex)};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_evtocd_list = {&gpon_evtocd_list, &gpon_evtocd_list};

constinit const gpon_me_list_info evtocdListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_evtocd),
    .related_info = gpon::NOTHING_RELATED,
    .related_info_size = sizeof(gpon::NOTHING_RELATED),
    .attr_ops = gpon::NO_ATTR_OPS,
    .head = &gpon_evtocd_list,
    .fields = FIELDS,
};

i32 evtocd_operation(const sk_buff*, const op_info*)
{
    log_trace("[%s][%d]: Enter\n");
    return 0;
}
