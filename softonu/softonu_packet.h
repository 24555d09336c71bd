/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The platform's per-packet fields on a stock kernel. They are in the packet's control block
 * (skb->cb), which belongs to the code that handles the packet at the moment. They are therefore
 * valid during a hook call only: the platform fills them before the call and clears them after it.
 */
#ifndef SOFTONU_PACKET_H
#define SOFTONU_PACKET_H

#include <linux/build_bug.h>
#include <linux/skbuff.h>
#include <linux/types.h>

/* Position of the UNI port number in the source-port word. */
#define SOFTONU_PORT_SHIFT 4
#define SOFTONU_PORT_MASK (0xfu << SOFTONU_PORT_SHIFT)

/* Packet is not mapped to a queue. */
#define SOFTONU_NO_QUEUE 0xffffu

struct softonu_packet {
	u32 flag_word;  /* bit 20: trace mark; low bits: log levels */
	u32 port_word;  /* UNI port number in bits 4 to 7 */
	u32 mark_word;  /* the packet's mark (skb->mark) as it was before the call */
	u16 gemport_id; /* kind 3: where it came from; after kind 1: where it goes */
	u16 multicast;  /* 1: from a multicast GEM port */
	u16 queue;      /* priority queue that the queue mapping chose, or SOFTONU_NO_QUEUE */
};

/* Distance of the flag word from the packet's address, in bytes. */
#define SOFTONU_FLAG_WORD_OFFSET \
	(offsetof(struct sk_buff, cb) + offsetof(struct softonu_packet, flag_word))

/* The platform's fields of a packet. The packet belongs to the caller's hook call. */
static inline struct softonu_packet *softonu_packet(const struct sk_buff *skb)
{
	BUILD_BUG_ON(sizeof(struct softonu_packet) > sizeof(skb->cb));
	return (struct softonu_packet *)skb->cb;
}

#endif
