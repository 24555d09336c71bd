/* SPDX-License-Identifier: GPL-2.0-only */
/* Packet trace: selects the packets to mark, and prints packet bytes to the kernel log. */
#ifndef GPON_DEBUG_TRACE_H
#define GPON_DEBUG_TRACE_H

#include "../base/switches.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* Returns 1 if the packet matches trace_cfg, otherwise 0; bytes beyond the end of the frame read as
 * 0. With the filter off it costs one load. Packet path. */
[[nodiscard]] i32 gpon_flow_is_trace_skb(const sk_buff* skb);

/* Print the first count bytes of a packet, with offsets or plain, 16 a line. Any context.
 * Without a caller in the module and the tool: code linked into the module may call them, such as
 * the glue of a port or a call that is added for an investigation. */
void gpon_flow_dump_skb(const sk_buff* skb, i32 count);
void gpon_flow_dump_skb_data(const sk_buff* skb, i32 count);
}

#endif
