// SPDX-License-Identifier: GPL-2.0-only
#include "forward_step.h"

#include "evtocd_extended_vlan_tagging_operation.h"
#include "vtocd_vlan_tagging_operation.h"

i32 gpon::vlan_operations::run_existing(const sk_buff* skb, op_info* op,
                                        const packet_log& log) const
{
    if (vtocd.instExist == 1) {
        op->related_inst_id = vtocd.instId;
        if (vtocd_operation(skb, op) != 0) {
            log.error("[%s][%d] end, vtocd_operation fail.\n");
            return -1;
        }
    }
    if (evtocd.instExist == 1) {
        op->related_inst_id = evtocd.instId;
        if (evtocd_operation(skb, op) != 0) {
            log.error("[%s][%d] end, evtocd_operation fail.\n");
            return -1;
        }
    }
    return 0;
}

gpon::table_step gpon::table_step::begin(const gpon_me_list_info& info, const packet_log& log,
                                         const gpon_fwd_info* fwd_info, gpon_walk_result* result,
                                         log_text<> null_message)
{
    table_step step;
    if (!enter_forward(log, fwd_info, result, null_message))
        return step;
    step.related = related_table::allocate(info);
    if (!step.related)
        return step;
    if (!step.related.read(fwd_info->instId)) {
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        step.return_value = 0;
        return step;
    }
    step.vlan = vlan_operations::of(log, step.related);
    step.op = {fwd_info->instId, 0, fwd_info->fwd_flag};
    step.ready = true;
    return step;
}
