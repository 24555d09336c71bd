// SPDX-License-Identifier: GPL-2.0-only
#include "forward.h"

i32 gpon::vlan_operations::run(const sk_buff* skb, op_info* op, log_site site) const
{
    if (vtocd.instExist == 1) {
        op->related_inst_id = vtocd.instId;
        if (vtocd_operation(skb, op) != 0) {
            log_packet_from(site, skb, LOG_ERROR, "[%s][%d] end, vtocd_operation fail.\n");
            return -1;
        }
    }
    if (evtocd.instExist == 1) {
        op->related_inst_id = evtocd.instId;
        if (evtocd_operation(skb, op) != 0) {
            log_packet_from(site, skb, LOG_ERROR, "[%s][%d] end, evtocd_operation fail.\n");
            return -1;
        }
    }
    return 0;
}
