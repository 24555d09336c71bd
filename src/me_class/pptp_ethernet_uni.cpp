// SPDX-License-Identifier: GPL-2.0-only
#include "pptp_ethernet_uni.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "uni.h"

namespace {

constexpr gpon_me_field FIELDS[] = {GPON_FIELD(gpon_raw_pptp, instID, hex)};

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::mbpcd, .name = "mbpcdInst", .related_inst_num = 1},
    {.related_class_id = me_class::mapper, .name = "mapperInst", .related_inst_num = 1},
    {.related_class_id = me_class::vtocd, .name = "vtocdInst", .related_inst_num = 1},
    {.related_class_id = me_class::evtocd, .name = "evtocdInst", .related_inst_num = 1},
    {.related_class_id = me_class::pq, .name = "pqInst", .related_inst_num = 1},
    {}};
constexpr gpon_me_next_class NEXT[] = {{me_class::mbpcd, UP_UNI}, {me_class::mapper, UP_UNI}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_pptp_uni_list = {&gpon_pptp_uni_list,
                                                           &gpon_pptp_uni_list};

constinit const gpon_me_list_info pptpListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_pptp),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = gpon::NO_ATTR_OPS,
    .head = &gpon_pptp_uni_list,
    .fields = FIELDS,
};
constinit const gpon_me_fwd_op pptpFwdOp = {.next_classes = NEXT, .forward = pptp_forward};

i32 pptp_get_inst_id_by_port_id(u8 port_id, u16* inst_id)
{
    log_trace("[%s][%d]: Enter\n");
    if (gpon::find_uni(&gpon_pptp_uni_list, port_id).copy_to(inst_id))
        return 0;
    log_error("pptp not found,port_id = %d\n", port_id);
    return -1;
}

i32 pptp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    assert_reads_lists();
    return gpon::uni_forward(pptpListInfo, gpon::vlan_row_of(RELATED), skb, fwd_info, result,
                             packet_log::here(skb));
}
