// SPDX-License-Identifier: GPL-2.0-only
// T-CONT (class 262, G.988 9.2.2).
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

i32 dump_raw(const void* raw, char* values, char* header, char* extra, i32 length)
{
    if (!raw || !values || !header || !extra)
        return 0;
    const auto& me = *static_cast<const gpon_raw_tcont*>(raw);
    return gpon::field_row(values, header, length)
        .hex("instID", 10, gpon::X4, me.instID)
        .dec("allocID", 10, me.allocID)
        .dec("policy", 10, me.policy)
        .end();
}

constexpr gpon_me_related_info RELATED[] = {
    {268, "gemCtpInst", nullptr, 32}, {277, "pqInst", nullptr, 1}, {278, "tsInst", nullptr, 1}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_tcont_list = {&gpon_tcont_list, &gpon_tcont_list};

constinit const gpon_me_list_info tcontListInfo = {
    dump_raw, sizeof(gpon_raw_tcont), RELATED,         gpon::table_bytes(RELATED),
    nullptr,  gpon::NO_ATTR_OPS,      &gpon_tcont_list};
constinit const gpon_me_fwd_op tcontFwdOp = {};
