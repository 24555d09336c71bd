// SPDX-License-Identifier: GPL-2.0-only
#include "forward_step.h"

#include "evtocd_extended_vlan_tagging_operation.h"
#include "vtocd_vlan_tagging_operation.h"

i32 gpon::vlan_operations::run(const sk_buff* skb, op_info* op, packet_log log) const
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

gpon::table_step::table_step(const gpon_me_list_info& info, const sk_buff* skb,
                             const gpon_fwd_info* fwd_info, gpon_walk_result* result,
                             packet_log log, log_text<> null_message)
{
    if (!enter_forward(log, fwd_info, result, null_message))
        return;
    related = related_table(info);
    if (!related)
        return;
    if (!related.read(fwd_info->instId)) {
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        answer = 0;
        return;
    }
    vlan = vlan_operations::of(skb, related);
    op = {fwd_info->instId, 0, fwd_info->fwd_flag};
    goes_on = true;
}
