// SPDX-License-Identifier: GPL-2.0-only
// Traffic descriptor (class 280, G.988 9.2.12).
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"

namespace {

i32 dump_raw(const void* raw, char* values, char* header, char* extra, i32 length)
{
    if (!raw || !values || !header || !extra)
        return 0;
    const auto& me = *static_cast<const gpon_raw_td*>(raw);
    return gpon::field_row(values, header, length)
        .hex("instID", 10, gpon::X4, me.instID)
        .dec("cir", 10, me.cir)
        .dec("pir", 10, me.pir)
        .dec("cbs", 10, me.cbs)
        .dec("pbs", 10, me.pbs)
        .dec("colourMode", 10, me.colourMode)
        .dec("ingressColourMode", 17, me.ingressColourMode)
        .dec("egressColourMode", 16, me.egressColourMode)
        .dec("meterType", 10, me.meterType)
        .end();
}

constexpr gpon_me_related_info RELATED[] = {{268, "gemCtpInst", nullptr, 1}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_td_list = {&gpon_td_list, &gpon_td_list};

constinit const gpon_me_list_info tdListInfo = {
    dump_raw, sizeof(gpon_raw_td), RELATED,      gpon::table_bytes(RELATED),
    nullptr,  gpon::NO_ATTR_OPS,   &gpon_td_list};
constinit const gpon_me_fwd_op tdFwdOp = {};
