// SPDX-License-Identifier: GPL-2.0-only
// MAC bridge port configuration data (class 47, G.988 9.3.4).
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

// G.988 TP type of a bridge port.
enum tp_type : u8 { TP_PPTP = 1, TP_MAPPER = 3, TP_GEM_IW = 5, TP_MULTICAST = 6, TP_VEIP = 11 };

u16 class_of_tp(u8 type)
{
    switch (type) {
    case TP_PPTP:
        return 11;
    case TP_MAPPER:
        return 130;
    case TP_GEM_IW:
        return 266;
    case TP_MULTICAST:
        return 281;
    case TP_VEIP:
        return 329;
    default:
        return 0;
    }
}

enum class side { none, uni, ani };

} // namespace

extern "C" {

i32 mbpcd_attr_tp_type_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_mbpcd>(cmd);
    if (!me)
        return -1;
    const u16 pointed_at = class_of_tp(me->tpType);
    return pointed_at ? gpon::report_link(cmd, {47, me->instID}, {pointed_at, me->tpPointer}) : -1;
}

i32 mbpcd_attr_mbsp_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_mbpcd>(cmd);
    return me ? gpon::report_link(cmd, {47, me->instID}, {45, me->bridgeID}) : -1;
}

i32 mbpcd_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
}

namespace {

constexpr gpon_me_related_info RELATED[] = {{me_class::vtfd, "vtfdInst", nullptr, 1},
                                            {me_class::vtocd, "vtocdInst", nullptr, 1},
                                            {me_class::evtocd, "evtocdInst", nullptr, 1},
                                            {}};

// Attributes 3 and 4 select both handlers: a port that changes its termination point is linked to
// its bridge anew.
constexpr gpon_me_attr_op ATTR_OPS[] = {
    {0x3000, mbpcd_attr_tp_type_op}, {0xb000, mbpcd_attr_mbsp_op}, {}};

constexpr gpon_me_next_class NEXT[] = {{me_class::mapper, UP_ANI},
                                       {me_class::gemiw, UP_ANI},
                                       {me_class::pptp, DOWN_UNI},
                                       {me_class::veip, DOWN_UNI},
                                       {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_mbpcd_list = {&gpon_mbpcd_list, &gpon_mbpcd_list};

constinit const gpon_me_list_info mbpcdListInfo = {
    .dump_raw = gpon::dump_fields<FIELDS>,
    .raw_size = sizeof(gpon_raw_mbpcd),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_mbpcd_list,
    .fields = FIELDS,
};
constinit const gpon_me_fwd_op mbpcdFwdOp = {.next_classes = NEXT, .forward = mbpcd_forward};

namespace {

// The record is read anew: a set may have moved the port since the caller's copy was taken.
side mbpcd_parse_onu_side(const gpon_me_inst* inst)
{
    log_trace("[%s][%d]: Enter\n");
    gpon_raw_mbpcd me = {};
    gpon::copy_raw(inst, &me, sizeof(me));
    switch (me.tpType) {
    case TP_PPTP:
    case TP_VEIP:
        return side::uni;
    case TP_MAPPER:
    case TP_GEM_IW:
    case TP_MULTICAST:
        return side::ani;
    default:
        return side::none;
    }
}

// One packet at one bridge port.
struct bridge_port {
    sk_buff* skb;
    packet_log log;
    gpon_walk_result* result;
    op_info op;
    gpon_me_related_id filter;
    gpon::vlan_operations vlan;
    u16 bridge_id;

    void run_filter(fwd_status status_when_passed)
    {
        op.related_inst_id = filter.instId;
        if (filter.instExist != 1 || vtfd_filter_handle(skb, &op) == 0)
            result->ret_val = status_when_passed;
        else
            log.error("[%s][%d] end, vtfd_filter_handle fail.\n");
    }

    // Into the bridge: VLAN operations before the filter. The walk of this half ends here.
    i32 enter()
    {
        if (vlan.run(skb, &op, log) != 0)
            return -1;
        run_filter(FLOW_PKT_FORWARD_DONE);
        result->turn_inst_id = bridge_id;
        return 0;
    }

    // Out of the bridge: filter before the VLAN operations.
    i32 leave()
    {
        run_filter(FLOW_PKT_FORWARD);
        return vlan.run(skb, &op, log);
    }

    i32 pass(side at)
    {
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        const bool uni = at == side::uni;
        const bool ani = at == side::ani;
        // A flag carries one bit; the bit that enters the bridge is looked at first on the UNI
        // side, the one that leaves it on the ANI side.
        if (uni && (op.fwd_flag & UP_UNI))
            return enter();
        if ((uni && (op.fwd_flag & DOWN_UNI)) || (ani && (op.fwd_flag & UP_ANI)))
            return leave();
        if (ani && (op.fwd_flag & DOWN_ANI))
            return enter();
        log.warning("%s [%d]: fwd_info->fwd_flag(%d): Fail\r\n", op.fwd_flag);
        return 0;
    }
};

} // namespace

i32 mbpcd_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    const packet_log log = packet_log::here(skb);
    if (!gpon::enter_forward(log, fwd_info, result))
        return -1;
    gpon::raw_record<gpon_raw_mbpcd> me;
    gpon::related_table related(mbpcdListInfo);
    if (!me || !related)
        return -1;
    const gpon_me_inst* inst =
        gpon::find_inst_after(&gpon_mbpcd_list, fwd_info->instId, result->last_port);
    if (!me.read(inst))
        return -1;
    related.read(inst);
    const gpon_me_related_id filter = related.first(skb, 84);
    bridge_port port = {
        skb,         log,
        result,      {fwd_info->instId, 0, fwd_info->fwd_flag, &result->last_filter},
        filter,      gpon::vlan_operations::of(skb, related),
        me->bridgeID};
    log.trace("[%s] [%d]: enter, classId=%d,instId=%d\r\n", fwd_info->classId, fwd_info->instId);
    return port.pass(mbpcd_parse_onu_side(inst));
}
