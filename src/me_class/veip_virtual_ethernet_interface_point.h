/* SPDX-License-Identifier: GPL-2.0-only */
/* Virtual Ethernet interface point (class 329, G.988 9.5.5). Packet path, inside an RCU read
 * section. */
#ifndef GPON_ME_CLASS_VEIP_H
#define GPON_ME_CLASS_VEIP_H

#include "../include/me_class.h"

extern "C" {

/* The first instance whose id has the port number in its low byte; the high byte is the slot, which
 * a port number does not contain. Returns 0, or -1 with a message and with *inst_id
 * unchanged: a caller that sets it to 0 before may ignore the result. */
i32 veip_get_inst_id_by_port_id(u8 port_id, u16* inst_id) GPON_READS_LISTS;

[[nodiscard]] i32 veip_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                               gpon_walk_result* result);
}

#endif
