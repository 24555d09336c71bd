/* SPDX-License-Identifier: GPL-2.0-only */
/* Packets as far as packets.c and the example of docs/porting.md use them. */
#ifndef GPON_GLUE_SKBUFF_H
#define GPON_GLUE_SKBUFF_H

#include "../stub.h"

typedef uint8_t u8;
typedef uint16_t u16;
typedef uint32_t u32;

struct sk_buff {
    unsigned char* data;
    unsigned int linear_bytes;
    int mac_offset; /* from data; below -100: not set */
    char cb[48] __attribute__((aligned(8)));
};

static inline unsigned int skb_headlen(const struct sk_buff* skb)
{
    return skb->linear_bytes;
}

static inline unsigned char* skb_tail_pointer(const struct sk_buff* skb)
{
    return skb->data + skb->linear_bytes;
}

static inline bool skb_mac_header_was_set(const struct sk_buff* skb)
{
    return skb->mac_offset > -100;
}

static inline unsigned char* skb_mac_header(const struct sk_buff* skb)
{
    return skb->data + skb->mac_offset;
}

#define WRITE_ONCE(variable, value) __atomic_store_n(&(variable), value, __ATOMIC_RELAXED)
#define smp_store_release(address, value) __atomic_store_n(address, value, __ATOMIC_RELEASE)
#define synchronize_rcu() ((void)0)

#endif
