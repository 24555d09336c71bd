/* SPDX-License-Identifier: GPL-2.0-only */
/* Physical path termination point Ethernet UNI (class 11, G.988 9.5.1). Packet path, inside an RCU
 * read section. */
#ifndef GPON_ME_CLASS_PPTP_H
#define GPON_ME_CLASS_PPTP_H

#include "../include/me_class.h"

extern "C" {

/* The first instance whose id has the port number in its low byte; the high byte is the slot, which
 * a port number does not contain. Returns 0, or -1 with a message and with *inst_id
 * unchanged: a caller that sets it to 0 before may ignore the result. */
i32 pptp_get_inst_id_by_port_id(u8 port_id, u16* inst_id) GPON_READS_LISTS;

[[nodiscard]] i32 pptp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                               gpon_walk_result* result);
}

#endif
