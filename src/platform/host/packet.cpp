// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <cstddef>

#include "platform/host/host.h"

#include "platform/api/kernel_api.h"

/* The switch of pkt/outcome.h; only this platform has it. */
extern "C" {
bool gpon_host_remembers_outcomes = true;
}

void gpon::host::set_remembered_outcomes(bool on)
{
    gpon_host_remembers_outcomes = on;
}

const unsigned int skb_flag_word_offset = offsetof(sk_buff, flag_word);

const unsigned char* skb_frame(const sk_buff* skb, unsigned int* bytes)
{
    *bytes = skb->data ? skb->bytes : 0;
    return skb->data;
}

const unsigned char* skb_mac_frame(const sk_buff* skb, unsigned int* bytes)
{
    const unsigned char* data = skb_frame(skb, bytes);
    const unsigned int offset = std::min(skb->mac_offset, *bytes);
    *bytes -= offset;
    return data + offset;
}

unsigned int skb_port_word(const sk_buff* skb)
{
    return skb->port_word;
}

unsigned int skb_mark_word(const sk_buff* skb)
{
    return skb->mark_word;
}

unsigned short skb_gemport_id(const sk_buff* skb)
{
    return skb->gemport_id;
}

void skb_set_gemport_id(sk_buff* skb, unsigned short gemport_id)
{
    skb->gemport_id = gemport_id;
}

unsigned short skb_multicast(const sk_buff* skb)
{
    return skb->multicast;
}
