// SPDX-License-Identifier: GPL-2.0-only
// Traffic scheduler (class 278, G.988 9.2.11).
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_ts, instID, hex),     GPON_FIELD(gpon_raw_ts, tcontPointer, hex),
    GPON_FIELD(gpon_raw_ts, tsPointer, hex),  GPON_FIELD(gpon_raw_ts, policy, decimal),
    GPON_FIELD(gpon_raw_ts, weight, decimal),
};

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::pq, .name = "pqInst", .related_inst_num = 8}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_ts_list = {&gpon_ts_list, &gpon_ts_list};

constinit const gpon_me_list_info tsListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_ts),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = gpon::NO_ATTR_OPS,
    .head = &gpon_ts_list,
    .fields = FIELDS,
};
constinit const gpon_me_fwd_op tsFwdOp = {};
