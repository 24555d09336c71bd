// SPDX-License-Identifier: GPL-2.0-only
#include "gemiw_gem_interworking_tp.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "field_search.h"
#include "forward_step.h"
#include "mapper_priority.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_gemiw, instID, hex),
    GPON_FIELD(gpon_raw_gemiw, gemCTPInstID, hex),
};

constexpr gpon_me_pointer CTP = {.field = GPON_FIELD(gpon_raw_gemiw, gemCTPInstID, hex),
                                 .mask = 0x8000,
                                 .class_id = me_class::gemctp};
constexpr gpon_me_pointer POINTERS[] = {CTP};

} // namespace

extern "C" {

i32 gem_attr_gem_ctp_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_gemiw>(cmd);
    return me ? gpon::report_pointer(cmd, {me_class::gemiw, me->instID}, CTP, me) : -1;
}
}

namespace {

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::mbpcd, .name = "mbpcdInst", .related_inst_num = 1},
    {.related_class_id = me_class::mapper, .name = "mapperInst", .related_inst_num = 1},
    {.related_class_id = me_class::vtocd, .name = "vtocdInst", .related_inst_num = 1},
    {.related_class_id = me_class::evtocd, .name = "evtocdInst", .related_inst_num = 1},
    {}};
constexpr gpon_me_attr_op ATTR_OPS[] = {{CTP.mask, gem_attr_gem_ctp_op}, {}};
constexpr gpon_me_next_class NEXT[] = {
    {me_class::mapper, DOWN_ANI}, {me_class::mbpcd, DOWN_ANI}, {me_class::gemctp, UP_ANI}, {}};

// Upstream, a mapper that points here passes only the frames of one priority.
bool is_selected(const sk_buff* skb, op_info& op, gpon_me_related_id mapper) GPON_READS_LISTS
{
    if (!(op.fwd_flag & UP_ANI) || mapper.instExist != 1)
        return true;
    op.related_inst_id = mapper.instId;
    const bool selected = pbit_filter_handle(skb, &op) == 0;
    if (op.walk->decision != GPON_DECISION_UNREADABLE)
        op.walk->decision = selected ? GPON_DECISION_MAPPER_SELECTS : GPON_DECISION_MAPPER_REFUSES;
    return selected;
}

} // namespace

GPON_MODULE_DATA constinit list_head gpon_gemiw_list = {&gpon_gemiw_list, &gpon_gemiw_list};

constinit const gpon_me_list_info gemIwListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_gemiw),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_gemiw_list,
    .fields = FIELDS,
    .pointers = POINTERS,
};
constinit const gpon_me_fwd_op gemIwFwdOp = {.next_classes = NEXT, .forward = gem_forward};

i32 gem_get_inst_id_by_gem_ctp(u16 gem_ctp_id, u16* inst_id)
{
    log_trace("[%s][%d]: Enter\n");
    const gpon::optional<u16> found =
        gpon::find_by_field(&gpon_gemiw_list, offsetof(gpon_raw_gemiw, gemCTPInstID), gem_ctp_id);
    return found.copy_to(inst_id) ? 0 : -1;
}

i32 gem_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    // Unlike the other classes, this one prints its name in brackets here.
    gpon::table_step step;
    if (!step.begin(gemIwListInfo, gpon::vlan_row_of(RELATED), log, fwd_info, result,
                    "[%s][%d]: Parameter is NULL: Fail\r\n"))
        return step.return_value;
    constexpr u8 MAPPER_ROW = gpon::row_of(RELATED, me_class::mapper);
    step.links.trace(log, MAPPER_ROW, 1);
    const gpon_me_related_id mapper = step.links.first(MAPPER_ROW);
    if (!(fwd_info->fwd_flag & (UP_ANI | DOWN_ANI))) {
        log.error("[%s][%d]: fwd_info->fwd_flag(%d): Fail\r\n", fwd_info->fwd_flag);
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        return 0;
    }
    if (step.vlan.run(skb, &step.op, log) != 0)
        return -1;
    if (is_selected(skb, step.op, mapper)) {
        result->ret_val = FLOW_PKT_FORWARD;
    } else {
        log.error("[%s][%d] end, pbit_filter_handle fail.\n");
        result->ret_val = FLOW_PKT_NOT_FORWARD;
    }
    log.trace("[%s][%d]: end, inst_id=%d, FLOW_PKT_FORWARD\n", fwd_info->instId);
    return 0;
}
