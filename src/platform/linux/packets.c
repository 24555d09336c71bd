// SPDX-License-Identifier: GPL-2.0-only
/*
 * Packets: where the frame is in a socket buffer. The platform's own fields are in packet_layout.h.
 *
 * Only bytes of the linear part can be read. The platform pulls a frame's headers into it before
 * it calls the hook; whatever stays in pages is not seen, as if the frame ended there.
 */
#include <linux/skbuff.h>

#include "glue.h"
#include "packet_layout.h"

const unsigned int gpon_os_skb_flag_word_offset = GPON_PACKET_FLAG_WORD_OFFSET;

struct gpon_frame_bytes gpon_os_skb_frame(const struct sk_buff *skb)
{
	struct gpon_frame_bytes frame = { skb->data, skb_headlen(skb) };

	return frame;
}

struct gpon_frame_bytes gpon_os_skb_mac_frame(const struct sk_buff *skb)
{
	struct gpon_frame_bytes frame = { skb->data, 0 };
	const unsigned char *end = skb_tail_pointer(skb);

	if (skb_mac_header_was_set(skb) && skb_mac_header(skb) <= end) {
		frame.first = skb_mac_header(skb);
		frame.bytes = end - skb_mac_header(skb);
	}
	return frame;
}

unsigned int gpon_os_skb_port_word(const struct sk_buff *skb)
{
	return gpon_packet_port_word(skb);
}

unsigned int gpon_os_skb_mark_word(const struct sk_buff *skb)
{
	return gpon_packet_mark_word(skb);
}

unsigned short gpon_os_skb_gemport_id(const struct sk_buff *skb)
{
	return gpon_packet_gemport_id(skb);
}

void gpon_os_skb_set_gemport_id(struct sk_buff *skb, unsigned short gemport_id)
{
	gpon_packet_set_gemport_id(skb, gemport_id);
}

unsigned short gpon_os_skb_multicast(const struct sk_buff *skb)
{
	return gpon_packet_multicast(skb);
}
