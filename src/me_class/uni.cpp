// SPDX-License-Identifier: GPL-2.0-only
#include "uni.h"

i32 gpon::uni_forward(const gpon_me_list_info& info, u8 vtocd_row, sk_buff* skb,
                      const gpon_fwd_info* fwd_info, gpon_walk_result* result,
                      const packet_log& log)
{
    table_step step;
    if (!step.begin(info, vtocd_row, log, fwd_info, result))
        return step.return_value;
    if (!(fwd_info->fwd_flag & (UP_UNI | DOWN_UNI))) {
        log.error("%s [%d]: fwd_info->fwd_flag(%d): Fail\r\n", fwd_info->fwd_flag);
        return 0;
    }
    if (step.vlan.run(skb, &step.op, log) == 0)
        result->ret_val = FLOW_PKT_FORWARD;
    return 0;
}
