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

gpon_frame_bytes skb_frame(const sk_buff* skb)
{
    return {skb->data, skb->data ? skb->bytes : 0};
}

gpon_frame_bytes skb_mac_frame(const sk_buff* skb)
{
    const gpon_frame_bytes frame = skb_frame(skb);
    const unsigned long offset = std::min<unsigned long>(skb->mac_offset, frame.bytes);
    return {frame.first + offset, frame.bytes - offset};
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
