// SPDX-License-Identifier: GPL-2.0-only
#include "uni.h"

i32 gpon::uni_forward(const gpon_me_list_info& info, sk_buff* skb, const gpon_fwd_info* fwd_info,
                      gpon_walk_result* result, log_site site)
{
    if (!enter_forward(skb, fwd_info, result, site))
        return -1;
    related_table related(info);
    if (!related)
        return -1;
    if (!related.read(fwd_info->instId)) {
        result->ret_val = FLOW_PKT_NOT_FORWARD;
        return 0;
    }
    const vlan_operations vlan = vlan_operations::of(skb, related);
    if (!(fwd_info->fwd_flag & (UP_UNI | DOWN_UNI))) {
        log_packet_from(site, skb, LOG_ERROR, "%s [%d]: fwd_info->fwd_flag(%d): Fail\r\n",
                        fwd_info->fwd_flag);
        return 0;
    }
    op_info op = {fwd_info->instId, 0, fwd_info->fwd_flag};
    if (vlan.run(skb, &op, site) == 0)
        result->ret_val = FLOW_PKT_FORWARD;
    return 0;
}
