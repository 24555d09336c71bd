// SPDX-License-Identifier: GPL-2.0-only
// MAC bridge port configuration data (class 47, G.988 9.3.4).
#include "../include/tp_types.h"
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "forward_step.h"
#include "vtfd_vlan_tagging_filter_data.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_mbpcd, instID, hex),
    GPON_FIELD(gpon_raw_mbpcd, bridgeID, hex),
    GPON_FIELD(gpon_raw_mbpcd, tpType, decimal),
    GPON_FIELD(gpon_raw_mbpcd, tpPointer, hex),
};

me_class class_of_tp(const void* raw, const struct gpon_flow_cfg_data&)
{
    return gpon::bridge_port_tp(static_cast<const gpon_raw_mbpcd*>(raw)->tpType).class_id;
}

// Attributes 3 and 4 select both pointers: a port that changes its termination point is linked to
// its bridge again.
constexpr gpon_me_pointer TP = {
    .field = GPON_FIELD(gpon_raw_mbpcd, tpPointer, hex), .mask = 0x3000, .class_of = class_of_tp};
constexpr gpon_me_pointer BRIDGE = {
    .field = GPON_FIELD(gpon_raw_mbpcd, bridgeID, hex), .mask = 0xb000, .class_id = me_class::mbsp};
constexpr gpon_me_pointer POINTERS[] = {TP, BRIDGE};

} // namespace

extern "C" {

i32 mbpcd_attr_tp_type_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_mbpcd>(cmd);
    return me ? gpon::report_pointer(cmd, {me_class::mbpcd, me->instID}, TP, me) : -1;
}

i32 mbpcd_attr_mbsp_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_mbpcd>(cmd);
    return me ? gpon::report_pointer(cmd, {me_class::mbpcd, me->instID}, BRIDGE, me) : -1;
}

i32 mbpcd_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
}

namespace {

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::vtfd, .name = "vtfdInst", .related_inst_num = 1},
    {.related_class_id = me_class::vtocd, .name = "vtocdInst", .related_inst_num = 1},
    {.related_class_id = me_class::evtocd, .name = "evtocdInst", .related_inst_num = 1},
    {}};

// A step prints the queries for these rows in this order.
constexpr u8 FILTER_ROW = gpon::row_of(RELATED, me_class::vtfd);
constexpr u8 VLAN_ROW = gpon::vlan_row_of(RELATED);
static_assert(FILTER_ROW == 0 && VLAN_ROW == 1);

constexpr gpon_me_attr_op ATTR_OPS[] = {
    {TP.mask, mbpcd_attr_tp_type_op}, {BRIDGE.mask, mbpcd_attr_mbsp_op}, {}};

constexpr gpon_me_next_class NEXT[] = {{me_class::mapper, UP_ANI},
                                       {me_class::gemiw, UP_ANI},
                                       {me_class::pptp, DOWN_UNI},
                                       {me_class::veip, DOWN_UNI},
                                       {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_mbpcd_list = {&gpon_mbpcd_list, &gpon_mbpcd_list};

constinit const gpon_me_list_info mbpcdListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_mbpcd),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_mbpcd_list,
    .fields = FIELDS,
    .pointers = POINTERS,
};
constinit const gpon_me_fwd_op mbpcdFwdOp = {.next_classes = NEXT, .forward = mbpcd_forward};

namespace {

// The record is read again: a set may have moved the port since the caller copied it.
tp_side mbpcd_parse_onu_side(const gpon_me_inst* inst) GPON_READS_LISTS
{
    log_trace("[%s][%d]: Enter\n");
    gpon_raw_mbpcd me = {};
    gpon::copy_raw(inst, gpon::bytes_of(me).first<sizeof(me)>());
    return gpon::bridge_port_tp(me.tpType).side;
}

// One packet at one bridge port.
struct bridge_port {
    sk_buff* skb;
    const packet_log& log;
    gpon_walk_result* result;
    op_info op;
    gpon_me_related_id filter;
    gpon::vlan_operations vlan;
    u16 bridge_id;

    // A filter accepts no direction of the UNI side.
    bool is_misplaced_filter() const { return !(op.fwd_flag & (UP_ANI | DOWN_ANI)); }

    void note_drop()
    {
        if (result->decision == GPON_DECISION_UNREADABLE)
            return;
        result->obstacles |= WALK_FILTERED;
        result->decision =
            is_misplaced_filter() ? GPON_DECISION_FILTER_MISPLACED : GPON_DECISION_FILTER_DROPS;
    }

    void run_filter(fwd_status status_when_passed) GPON_READS_LISTS
    {
        op.related_inst_id = filter.instId;
        if (filter.instExist != 1 || vtfd_filter_handle(skb, &op) == 0) {
            result->ret_val = status_when_passed;
            if (filter.instExist == 1)
                result->decision = GPON_DECISION_FILTER_PASSES;
            return;
        }
        note_drop();
        log.error("[%s][%d] end, vtfd_filter_handle fail.\n");
    }

    // Into the bridge: VLAN operations before the filter. The walk of this half ends here.
    i32 enter() GPON_READS_LISTS
    {
        if (vlan.run(skb, &op, log) != 0)
            return -1;
        run_filter(FLOW_PKT_FORWARD_DONE);
        result->turn_inst_id = bridge_id;
        return 0;
    }

    // Out of the bridge: filter before the VLAN operations.
    i32 leave() GPON_READS_LISTS
    {
        run_filter(FLOW_PKT_FORWARD);
        return vlan.run(skb, &op, log);
    }

    i32 pass(tp_side at) GPON_READS_LISTS
    {
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        const bool uni = at == tp_side::uni;
        const bool ani = at == tp_side::ani;
        // A flag has one bit. On the UNI side the bit that enters the bridge is tested first, on
        // the ANI side the one that leaves it.
        if (uni && (op.fwd_flag & UP_UNI))
            return enter();
        if ((uni && (op.fwd_flag & DOWN_UNI)) || (ani && (op.fwd_flag & UP_ANI)))
            return leave();
        if (ani && (op.fwd_flag & DOWN_ANI))
            return enter();
        result->decision = GPON_DECISION_OTHER_SIDE;
        log.warning("%s [%d]: fwd_info->fwd_flag(%d): Fail\r\n", op.fwd_flag);
        return 0;
    }
};

} // namespace

i32 mbpcd_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    if (!gpon::enter_forward(log, fwd_info, result))
        return -1;
    gpon::raw_record<gpon_raw_mbpcd> me(&result->memory);
    gpon::related_links links(result->memory);
    if (!me || !links)
        return -1;
    const gpon_me_inst* inst =
        gpon::find_inst_after(&gpon_mbpcd_list, fwd_info->instId, result->last_port);
    if (!me.read(inst) || !links.read(inst, VLAN_ROW + 2))
        return -1;
    links.trace(log, FILTER_ROW, VLAN_ROW + 2);
    bridge_port port = {skb,
                        log,
                        result,
                        {fwd_info->instId, 0, fwd_info->fwd_flag, result},
                        links.first(FILTER_ROW),
                        gpon::vlan_operations::of(links, VLAN_ROW),
                        me->bridgeID};
    log.trace("[%s] [%d]: enter, classId=%d,instId=%d\r\n", fwd_info->classId, fwd_info->instId);
    return port.pass(mbpcd_parse_onu_side(inst));
}
