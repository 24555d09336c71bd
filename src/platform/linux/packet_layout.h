/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Where the platform keeps its own fields of a packet. A port to another platform replaces this
 * header and no other file of the glue (docs/porting.md): packets.c uses only the functions and the
 * constant below. The soft ONU writes the fields through struct gpon_packet_fields.
 *
 * This layout is for the soft ONU on a stock kernel. Its fields are in the packet's control block
 * (skb->cb), which belongs to the code that handles the packet at the moment: they are valid during
 * a hook call only.
 */
#ifndef GPON_LINUX_PACKET_LAYOUT_H
#define GPON_LINUX_PACKET_LAYOUT_H

#include <linux/build_bug.h>
#include <linux/skbuff.h>
#include <linux/types.h>

struct gpon_packet_fields {
	u32 flag_word;  /* bit 20: trace mark; low bits: log levels */
	u32 port_word;  /* UNI port number in bits 4 to 7 */
	u32 mark_word;  /* the packet's mark (skb->mark) as it was before the call */
	u16 gemport_id; /* kind 3: where it came from; after kind 1: where it goes */
	u16 multicast;  /* 1: from a multicast GEM port */
};

static_assert(sizeof_field(struct gpon_packet_fields, flag_word) == sizeof(u32),
	      "the core reads and writes 32 bits of flags");

/* Distance of the flag word from the packet's address, in bytes. */
#define GPON_PACKET_FLAG_WORD_OFFSET \
	(offsetof(struct sk_buff, cb) + offsetof(struct gpon_packet_fields, flag_word))

/* The packet belongs to the caller's hook call. */
static inline struct gpon_packet_fields *gpon_packet_fields(const struct sk_buff *skb)
{
	BUILD_BUG_ON(sizeof(struct gpon_packet_fields) > sizeof(skb->cb));
	return (struct gpon_packet_fields *)skb->cb;
}

static inline u32 gpon_packet_port_word(const struct sk_buff *skb)
{
	return gpon_packet_fields(skb)->port_word;
}

static inline u32 gpon_packet_mark_word(const struct sk_buff *skb)
{
	return gpon_packet_fields(skb)->mark_word;
}

static inline u16 gpon_packet_gemport_id(const struct sk_buff *skb)
{
	return gpon_packet_fields(skb)->gemport_id;
}

static inline void gpon_packet_set_gemport_id(struct sk_buff *skb, u16 gemport_id)
{
	gpon_packet_fields(skb)->gemport_id = gemport_id;
}

static inline u16 gpon_packet_multicast(const struct sk_buff *skb)
{
	return gpon_packet_fields(skb)->multicast;
}

#endif
