// SPDX-License-Identifier: GPL-2.0-only
// Traffic descriptor (class 280, G.988 9.2.12).
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_td, instID, hex),
    GPON_FIELD(gpon_raw_td, cir, decimal),
    GPON_FIELD(gpon_raw_td, pir, decimal),
    GPON_FIELD(gpon_raw_td, cbs, decimal),
    GPON_FIELD(gpon_raw_td, pbs, decimal),
    GPON_FIELD(gpon_raw_td, colourMode, decimal),
    GPON_FIELD(gpon_raw_td, ingressColourMode, decimal),
    GPON_FIELD(gpon_raw_td, egressColourMode, decimal),
    GPON_FIELD(gpon_raw_td, meterType, decimal),
};

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::gemctp, .name = "gemCtpInst", .related_inst_num = 1}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_td_list = {&gpon_td_list, &gpon_td_list};

constinit const gpon_me_list_info tdListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_td),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = gpon::NO_ATTR_OPS,
    .head = &gpon_td_list,
    .fields = FIELDS,
};
constinit const gpon_me_fwd_op tdFwdOp = {};
