// SPDX-License-Identifier: GPL-2.0-only
#include "gemctp_gem_port_network_ctp.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "field_search.h"
#include "forward_step.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_gemctp, instID, hex),
    GPON_FIELD(gpon_raw_gemctp, portID, decimal),
    GPON_FIELD(gpon_raw_gemctp, tcontID, hex),
    GPON_FIELD(gpon_raw_gemctp, direction, decimal),
    GPON_FIELD(gpon_raw_gemctp, trafficMgrPtrUp, hex),
    GPON_FIELD(gpon_raw_gemctp, TDProPtrUp, hex),
    GPON_FIELD(gpon_raw_gemctp, TDProPtrDown, hex),
};

// In this class a pointer of 0 means no pointer.
constexpr i32 NO_POINTER = 0;
constexpr u8 RATE_CONTROLLED = 1;
constexpr u32 ANI_TO_UNI_ONLY = 2;

// With rate control the pointer is not a queue id.
me_class class_of_traffic_manager(const void*, const struct gpon_flow_cfg_data& cfg)
{
    return cfg.traffic_mgmt_option == RATE_CONTROLLED ? me_class::none : me_class::pq;
}

constexpr gpon_me_pointer T_CONT = {.field = GPON_FIELD(gpon_raw_gemctp, tcontID, hex),
                                    .mask = 0x4000,
                                    .class_id = me_class::tcont,
                                    .no_target = NO_POINTER};
constexpr gpon_me_pointer TRAFFIC_MANAGER = {.field =
                                                 GPON_FIELD(gpon_raw_gemctp, trafficMgrPtrUp, hex),
                                             .mask = 0x1000,
                                             .class_of = class_of_traffic_manager,
                                             .no_target = NO_POINTER};
constexpr gpon_me_pointer UP_TD = {.field = GPON_FIELD(gpon_raw_gemctp, TDProPtrUp, hex),
                                   .mask = 0x800,
                                   .class_id = me_class::td,
                                   .no_target = NO_POINTER};
// Attribute 7 sets the downstream traffic descriptor.
constexpr gpon_me_pointer DOWN_TD = {.field = GPON_FIELD(gpon_raw_gemctp, TDProPtrDown, hex),
                                     .mask = 0x200,
                                     .class_id = me_class::td,
                                     .no_target = NO_POINTER};
constexpr gpon_me_pointer POINTERS[] = {T_CONT, TRAFFIC_MANAGER, UP_TD, DOWN_TD};

i32 report_pointer(const gpon_me_cmd* cmd, const gpon_raw_gemctp* me,
                   const gpon_me_pointer& pointer) GPON_CHANGES_LISTS
{
    return gpon::report_pointer(cmd, {me_class::gemctp, me->instID}, pointer, me);
}

// These two handlers return 0 for a command without attribute data.
bool lacks_data(const gpon_me_cmd* cmd)
{
    return cmd && !cmd->attr_data;
}

} // namespace

extern "C" {

// No frame runs the handlers: cold code is optimised for size.
[[GPON_COLD]] i32 gem_ctp_attr_tcont_op(gpon_me_cmd* cmd)
{
    if (lacks_data(cmd)) {
        log_trace("[%s][%d]: Enter\n");
        return 0;
    }
    const auto* me = gpon::enter_handler<gpon_raw_gemctp>(cmd);
    return me ? report_pointer(cmd, me, T_CONT) : -1;
}

[[GPON_COLD]] i32 gem_ctp_attr_pq_op(gpon_me_cmd* cmd)
{
    if (lacks_data(cmd)) {
        log_trace("[%s][%d]: Enter\n");
        return 0;
    }
    const auto* me = gpon::enter_handler<gpon_raw_gemctp>(cmd);
    if (!me)
        return -1;
    if (class_of_traffic_manager(me, gpon_flow_cfg_data) == me_class::none)
        return 0;
    return report_pointer(cmd, me, TRAFFIC_MANAGER);
}

[[GPON_COLD]] i32 gem_ctp_attr_up_td_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_gemctp>(cmd);
    return me ? report_pointer(cmd, me, UP_TD) : -1;
}

[[GPON_COLD]] i32 gem_ctp_attr_down_td_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_gemctp>(cmd);
    return me ? report_pointer(cmd, me, DOWN_TD) : -1;
}
}

namespace {

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::gemiw, .name = "gemIwInst", .related_inst_num = 1},
    {.related_class_id = me_class::multigemiw, .name = "multiGemIwInst", .related_inst_num = 1},
    {}};

constexpr gpon_me_attr_op ATTR_OPS[] = {{T_CONT.mask, gem_ctp_attr_tcont_op},
                                        {TRAFFIC_MANAGER.mask, gem_ctp_attr_pq_op},
                                        {UP_TD.mask, gem_ctp_attr_up_td_op},
                                        {DOWN_TD.mask, gem_ctp_attr_down_td_op},
                                        {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_gemctp_list = {&gpon_gemctp_list, &gpon_gemctp_list};

constinit const gpon_me_list_info gemCtpListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_gemctp),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_gemctp_list,
    .fields = FIELDS,
    .pointers = POINTERS,
};
constinit const gpon_me_fwd_op gemCtpFwdOp = {.next_classes = nullptr, .forward = gem_ctp_forward};

i32 gem_ctp_get_inst_id_by_gemport_id(u16 gemport_id, u16* inst_id)
{
    log_trace("[%s][%d]: Enter\n");
    const gpon::optional<u16> found =
        gpon::find_by_field(&gpon_gemctp_list, offsetof(gpon_raw_gemctp, portID), gemport_id);
    return found.copy_to(inst_id) ? 0 : -1;
}

i32 gem_ctp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    if (!gpon::enter_forward(log, fwd_info, result))
        return -1;
    gpon::raw_record<gpon_raw_gemctp> me(&result->memory);
    if (!me || !me.read(gpon::find_inst(&gpon_gemctp_list, fwd_info->instId)))
        return -1;
    result->ret_val = FLOW_PKT_NOT_FORWARD;
    if (!(fwd_info->fwd_flag & UP_ANI)) {
        log.error("%s [%d]: fwd_info->fwd_flag(%d): Fail\r\n", fwd_info->fwd_flag);
        return 0;
    }
    if (me->direction != ANI_TO_UNI_ONLY) {
        result->ret_val = FLOW_PKT_FORWARD_DONE;
        result->gemport_id = me->portID;
    }
    return 0;
}
