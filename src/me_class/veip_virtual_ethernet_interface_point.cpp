// SPDX-License-Identifier: GPL-2.0-only
#include "veip_virtual_ethernet_interface_point.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "uni.h"

namespace {

constexpr gpon_me_related_info RELATED[] = {{47, "mbpcdInst", nullptr, 1},
                                            {130, "mapperInst", nullptr, 1},
                                            {78, "vtocdInst", nullptr, 1},
                                            {171, "evtocdInst", nullptr, 1},
                                            {}};
static_assert(sizeof(RELATED) == 440);
constexpr gpon_me_next_class NEXT[] = {{47, UP_UNI}, {130, UP_UNI}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_veip_list = {&gpon_veip_list, &gpon_veip_list};

constinit const gpon_me_list_info veipListInfo = {
    gpon::dump_id_only, sizeof(gpon_raw_veip), RELATED, gpon::table_bytes(RELATED), nullptr,
    gpon::NO_ATTR_OPS,  &gpon_veip_list};
constinit const gpon_me_fwd_op veipFwdOp = {NEXT, veip_forward};

i32 veip_get_inst_id_by_port_id(u8 port_id, u16* inst_id)
{
    log_trace("[%s][%d]: Enter\n");
    if (gpon::find_uni(&gpon_veip_list, port_id, inst_id))
        return 0;
    log_error("VEIP not found,port_id = %d\n", port_id);
    return -1;
}

i32 veip_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    return gpon::uni_forward(veipListInfo, skb, fwd_info, result, packet_log::here(skb));
}
