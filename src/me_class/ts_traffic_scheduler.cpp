// SPDX-License-Identifier: GPL-2.0-only
// Traffic scheduler (class 278, G.988 9.2.11).
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

i32 dump_raw(const void* raw, char* values, char* header, char* extra, i32 length)
{
    if (!raw || !values || !header || !extra)
        return 0;
    const auto& me = *static_cast<const gpon_raw_ts*>(raw);
    return gpon::field_row(values, header, length)
        .hex("instID", 10, gpon::X4, me.instID)
        .hex("tcontPointer", 12, gpon::X4, me.tcontPointer)
        .hex("tsPointer", 10, gpon::X4, me.tsPointer)
        .dec("policy", 10, me.policy)
        .dec("weight", 10, me.weight)
        .end();
}

constexpr gpon_me_related_info RELATED[] = {{277, "pqInst", nullptr, 8}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_ts_list = {&gpon_ts_list, &gpon_ts_list};

constinit const gpon_me_list_info tsListInfo = {
    dump_raw, sizeof(gpon_raw_ts), RELATED,      gpon::table_bytes(RELATED),
    nullptr,  gpon::NO_ATTR_OPS,   &gpon_ts_list};
constinit const gpon_me_fwd_op tsFwdOp = {};
