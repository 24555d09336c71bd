// SPDX-License-Identifier: GPL-2.0-only
// Downstream only.
#include "multigemiw_multicast_gem_interworking_tp.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "field_search.h"
#include "forward_step.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_multigemiw, instID, hex),
    GPON_FIELD(gpon_raw_multigemiw, GemCTPInstID, hex),
};

constexpr gpon_me_pointer CTP = {.field = GPON_FIELD(gpon_raw_multigemiw, GemCTPInstID, hex),
                                 .mask = 0x8000,
                                 .class_id = me_class::gemctp};
constexpr gpon_me_pointer POINTERS[] = {CTP};

} // namespace

extern "C" {

i32 multi_gem_attr_gem_ctp_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_multigemiw>(cmd);
    return me ? gpon::report_pointer(cmd, {me_class::multigemiw, me->instID}, CTP, me) : -1;
}
}

namespace {

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::mbpcd, .name = "mbpcdInst", .related_inst_num = 1},
    {.related_class_id = me_class::vtocd, .name = "vtocdInst", .related_inst_num = 1},
    {.related_class_id = me_class::evtocd, .name = "evtocdInst", .related_inst_num = 1},
    {}};
constexpr gpon_me_attr_op ATTR_OPS[] = {{CTP.mask, multi_gem_attr_gem_ctp_op}, {}};
constexpr gpon_me_next_class NEXT[] = {{me_class::mbpcd, DOWN_ANI}, {me_class::gemctp, UP_ANI}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_multigemiw_list = {&gpon_multigemiw_list,
                                                             &gpon_multigemiw_list};

constinit const gpon_me_list_info multiGemIwListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_multigemiw),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_multigemiw_list,
    .fields = FIELDS,
    .pointers = POINTERS,
};
constinit const gpon_me_fwd_op multiGemIwFwdOp = {.next_classes = NEXT,
                                                  .forward = multi_gem_forward};

i32 multi_gem_get_inst_id_by_gem_ctp(u16 gem_ctp_id, u16* inst_id)
{
    log_trace("[%s][%d]: Enter\n");
    const gpon::optional<u16> found = gpon::find_by_field(
        &gpon_multigemiw_list, offsetof(gpon_raw_multigemiw, GemCTPInstID), gem_ctp_id);
    return found.copy_to(inst_id) ? 0 : -1;
}

i32 multi_gem_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    gpon::table_step step;
    if (!step.begin(multiGemIwListInfo, gpon::vlan_row_of(RELATED), log, fwd_info, result))
        return step.return_value;
    if (!(fwd_info->fwd_flag & DOWN_ANI)) {
        log.error("%s [%d]: fwd_info->fwd_flag(%d): Fail\r\n", fwd_info->fwd_flag);
        return 0;
    }
    if (step.vlan.run(skb, &step.op, log) == 0)
        result->ret_val = FLOW_PKT_FORWARD;
    return 0;
}
