// SPDX-License-Identifier: GPL-2.0-only
#include "pptp_ethernet_uni.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "uni.h"

namespace {

constexpr gpon_me_related_info RELATED[] = {
    {47, "mbpcdInst", nullptr, 1},   {130, "mapperInst", nullptr, 1}, {78, "vtocdInst", nullptr, 1},
    {171, "evtocdInst", nullptr, 1}, {277, "pqInst", nullptr, 1},     {}};
static_assert(sizeof(RELATED) == 528);
constexpr gpon_me_next_class NEXT[] = {{47, UP_UNI}, {130, UP_UNI}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_pptp_uni_list = {&gpon_pptp_uni_list,
                                                           &gpon_pptp_uni_list};

constinit const gpon_me_list_info pptpListInfo = {
    gpon::dump_id_only, sizeof(gpon_raw_pptp), RELATED, gpon::table_bytes(RELATED), nullptr,
    gpon::NO_ATTR_OPS,  &gpon_pptp_uni_list};
constinit const gpon_me_fwd_op pptpFwdOp = {NEXT, pptp_forward};

i32 pptp_get_inst_id_by_port_id(u8 port_id, u16* inst_id)
{
    log_trace("[%s][%d]: Enter\n");
    if (gpon::find_uni(&gpon_pptp_uni_list, port_id, inst_id))
        return 0;
    log_error("pptp not found,port_id = %d\n", port_id);
    return -1;
}

i32 pptp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    return gpon::uni_forward(pptpListInfo, skb, fwd_info, result, packet_log::here(skb));
}
