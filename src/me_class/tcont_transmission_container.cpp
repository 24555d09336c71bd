// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
// T-CONT (class 262, G.988 9.2.2).
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_tcont, instID, hex),
    GPON_FIELD(gpon_raw_tcont, allocID, decimal),
    GPON_FIELD(gpon_raw_tcont, policy, decimal),
};

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::gemctp, .name = "gemCtpInst", .related_inst_num = 32},
    {.related_class_id = me_class::pq, .name = "pqInst", .related_inst_num = 1},
    {.related_class_id = me_class::ts, .name = "tsInst", .related_inst_num = 1},
    {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_tcont_list = {&gpon_tcont_list, &gpon_tcont_list};

constinit const gpon_me_list_info tcontListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_tcont),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = gpon::NO_ATTR_OPS,
    .head = &gpon_tcont_list,
    .fields = FIELDS,
};
constinit const gpon_me_fwd_op tcontFwdOp = {};
