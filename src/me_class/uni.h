/* SPDX-License-Identifier: GPL-2.0-only */
/* Common parts of the two UNI classes, PPTP Ethernet UNI (11) and VEIP (329). Packet path, inside
 * an RCU read section. */
#ifndef GPON_ME_CLASS_UNI_H
#define GPON_ME_CLASS_UNI_H

#include "../base/optional.h"
#include "forward_step.h"

namespace gpon {

/* The id of the first UNI with a port number. */
[[nodiscard]] inline optional<u16> find_uni(const list_head* list, u8 port_id) GPON_READS_LISTS
{
    const gpon_me_inst* inst = find_if(list, [=](const gpon_me_inst* candidate) {
        return static_cast<u8>(candidate->inst_id) == port_id;
    });
    if (!inst)
        return {};
    return inst->inst_id;
}

/* The step through either class. A failed VLAN operation does not change the status and is no
 * failure. */
[[nodiscard]] i32 uni_forward(const gpon_me_list_info& info, u8 vtocd_row, sk_buff* skb,
                              const gpon_fwd_info* fwd_info, gpon_walk_result* result,
                              const packet_log& log) GPON_READS_LISTS;

} // namespace gpon

#endif
