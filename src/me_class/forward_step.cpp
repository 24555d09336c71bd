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

void gpon::related_links::print_queries(const packet_log& caller, u8 first_row, u8 rows) const
{
    const packet_log log = caller.as<gpon_flow_list_get_related_id>();
    for (u8 row = first_row; row < first_row + rows; ++row) {
        log.trace("[%s][%d]: Enter\n");
        if (first(row).instExist != 0)
            log.trace("[%s] [%d]: i=%d\n", row);
    }
}

bool gpon::table_step::begin(const gpon_me_list_info& info, u8 vtocd_row, const packet_log& log,
                             const gpon_fwd_info* fwd_info, gpon_walk_result* result,
                             log_text<> null_message)
{
    if (!enter_forward(log, fwd_info, result, null_message))
        return false;
    links.allocate(result->memory);
    if (!links)
        return false;
    if (!links.read(find_inst(info.head, fwd_info->instId), static_cast<u8>(vtocd_row + 2))) {
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        return_value = 0;
        return false;
    }
    links.trace(log, vtocd_row, 2);
    vlan = vlan_operations::of(links, vtocd_row);
    op = {fwd_info->instId, 0, fwd_info->fwd_flag, result};
    return true;
}
