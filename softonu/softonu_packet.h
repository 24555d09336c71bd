/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The platform's per-packet fields on a stock kernel. They are in the packet's control block
 * (skb->cb), which belongs to the code that handles the packet at the moment. They are therefore
 * valid during a hook call only: the platform fills them before the call and clears them after it.
 */
#ifndef SOFTONU_PACKET_H
#define SOFTONU_PACKET_H

#include "../src/platform/linux/packet_layout.h"

/* Position of the UNI port number in the source-port word. */
#define SOFTONU_PORT_SHIFT 4
#define SOFTONU_PORT_MASK (0xfu << SOFTONU_PORT_SHIFT)

/* Packet is not mapped to a queue. */
#define SOFTONU_NO_QUEUE 0xffffu

struct softonu_packet {
	struct gpon_packet_fields fields; /* those that the module knows; first */
	u16 queue; /* priority queue that the queue mapping chose, or SOFTONU_NO_QUEUE */
};

/* The platform's fields of a packet. The packet belongs to the caller's hook call. */
static inline struct softonu_packet *softonu_packet(const struct sk_buff *skb)
{
	BUILD_BUG_ON(sizeof(struct softonu_packet) > sizeof(skb->cb));
	BUILD_BUG_ON(offsetof(struct softonu_packet, fields) != 0);
	return (struct softonu_packet *)skb->cb;
}

#endif
