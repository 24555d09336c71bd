// SPDX-License-Identifier: GPL-2.0-only
/* Prepares packets for the hooks: linear, with the platform's fields. */
#include <linux/if_vlan.h>

#include "softonu.h"

struct sk_buff *softonu_own_packet(struct sk_buff *skb)
{
	skb = skb_share_check(skb, GFP_ATOMIC);
	if (!skb)
		return NULL;
	if (skb_linearize_cow(skb)) {
		kfree_skb(skb);
		return NULL;
	}
	if (skb_vlan_tag_present(skb))
		skb = __vlan_hwaccel_push_inside(skb);
	return skb;
}

void softonu_set_fields(struct sk_buff *skb, u8 port, u16 gemport_id, bool multicast)
{
	struct softonu_packet *packet = softonu_packet(skb);

	memset(skb->cb, 0, sizeof(skb->cb));
	packet->fields.port_word = (u32)port << SOFTONU_PORT_SHIFT;
	packet->fields.mark_word = skb->mark;
	packet->fields.gemport_id = gemport_id;
	packet->fields.multicast = multicast;
	packet->queue = SOFTONU_NO_QUEUE;
}

int softonu_classify(struct sk_buff *skb, enum gpon_api_type kind)
{
	struct api_data data = { .api_type = kind, .skb = skb };
	int ret;

	softonu_call_hooks(&data, NULL, &ret);
	return data.api_result;
}
