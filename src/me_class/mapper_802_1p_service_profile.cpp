// SPDX-License-Identifier: GPL-2.0-only
#include "mapper_802_1p_service_profile.h"

#include "../include/mapper_values.h"
#include "../include/tp_types.h"
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "forward_step.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_mapper, instID, hex),
    GPON_FIELD(gpon_raw_mapper, tpType, decimal),
    GPON_FIELD(gpon_raw_mapper, tpPointer, hex),
    GPON_FIELD(gpon_raw_mapper, unmark_frame_opt, decimal),
    GPON_FIELD(gpon_raw_mapper, defaultPbit, decimal),
    GPON_FIELD(gpon_raw_mapper, pbit_GemIWTP, hex),
    GPON_FIELD(gpon_raw_mapper, dscp2pbitMap, hex),
};

me_class class_of_tp(const void* raw, const struct gpon_flow_cfg_data&)
{
    return gpon::mapper_tp(static_cast<const gpon_raw_mapper*>(raw)->tpType).class_id;
}

// Attributes 1 and 13 together select the termination point; 2 to 9 are the pointers by priority.
constexpr gpon_me_pointer TP = {
    .field = GPON_FIELD(gpon_raw_mapper, tpPointer, hex), .mask = 0x8008, .class_of = class_of_tp};
constexpr gpon_me_pointer GEM_IW_TPS = {.field = GPON_FIELD(gpon_raw_mapper, pbit_GemIWTP, hex),
                                        .mask = 0x4000,
                                        .class_id = me_class::gemiw,
                                        .no_target = gpon::NO_GEM_IW_TP};
constexpr gpon_me_pointer POINTERS[] = {TP, GEM_IW_TPS};

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::mbpcd, .name = "mbpcdInst", .related_inst_num = 1},
    {.related_class_id = me_class::vtocd, .name = "vtocdInst", .related_inst_num = 1},
    {.related_class_id = me_class::evtocd, .name = "evtocdInst", .related_inst_num = 1},
    {}};

constexpr gpon_me_attr_op ATTR_OPS[] = {{TP.mask, mapper_attr_tp_type_op},
                                        {gpon::whole_mask(GEM_IW_TPS), mapper_attr_gem_iw_tp_pbit},
                                        {}};

constexpr gpon_me_next_class NEXT[] = {{me_class::gemiw, UP_ANI},
                                       {me_class::mbpcd, DOWN_ANI},
                                       {me_class::pptp, DOWN_UNI},
                                       {me_class::veip, DOWN_UNI},
                                       {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_mapper_list = {&gpon_mapper_list, &gpon_mapper_list};

constinit const gpon_me_list_info mapperListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_mapper),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_mapper_list,
    .fields = FIELDS,
    .pointers = POINTERS,
};
constinit const gpon_me_fwd_op mapperFwdOp = {.next_classes = NEXT, .forward = mapper_forward};

i32 mapper_attr_tp_type_op(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_mapper>(cmd);
    return me ? gpon::report_pointer(cmd, {me_class::mapper, me->instID}, TP, me) : -1;
}

i32 mapper_attr_gem_iw_tp_pbit(gpon_me_cmd* cmd)
{
    const auto* me = gpon::enter_handler<gpon_raw_mapper>(cmd);
    if (!me)
        return -1;
    for (u32 i = 0; i < GEM_IW_TPS.field.count; ++i) {
        if (!(cmd->attr_mask & gpon::element_mask(GEM_IW_TPS, i)))
            continue;
        if (gpon::report_pointer(cmd, {me_class::mapper, me->instID}, GEM_IW_TPS, me, i) != 0) {
            log_error("[%s][%d]: gpon_flow_me_general_update fail,index = %d.\n", i);
            return -1;
        }
    }
    return 0;
}

i32 mapper_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    gpon::table_step step;
    if (!step.begin(mapperListInfo, gpon::vlan_row_of(RELATED), log, fwd_info, result))
        return step.return_value;
    if (!(fwd_info->fwd_flag & (UP_ANI | UP_UNI | DOWN_ANI | DOWN_UNI))) {
        log.error("%s [%d]: fwd_info->fwd_flag(%d): Fail\r\n", fwd_info->fwd_flag);
        return -1;
    }
    if (step.vlan.run(skb, &step.op, log) != 0)
        return -1;
    if (fwd_info->fwd_flag & UP_UNI)
        result->turn_inst_id = fwd_info->instId;
    result->ret_val = FLOW_PKT_FORWARD;
    return 0;
}
