// SPDX-License-Identifier: GPL-2.0-only
/* Packets for the injection device: any bytes, in any memory layout that the stack uses. */
#include <linux/gfp.h>
#include <linux/if_vlan.h>
#include <linux/mm.h>
#include <linux/uaccess.h>

#include "softonu.h"

/* Frame bytes behind the linear part. */
static int fill_pages(struct sk_buff *skb, const u8 __user *from, unsigned int bytes)
{
	unsigned int fragment = 0;

	while (bytes) {
		unsigned int part = min_t(unsigned int, bytes, PAGE_SIZE);
		struct page *page = alloc_page(GFP_KERNEL);

		if (!page)
			return -ENOMEM;
		skb_add_rx_frag(skb, fragment++, page, 0, part, PAGE_SIZE);
		if (copy_from_user(page_address(page), from, part))
			return -EFAULT;
		from += part;
		bytes -= part;
	}
	return 0;
}

static int fill_frame(struct sk_buff *skb, const struct softonu_hook_call *call)
{
	const u8 __user *from = u64_to_user_ptr(call->frame);
	bool paged = call->options & SOFTONU_CALL_PAGED;
	unsigned int linear = paged ? call->linear_bytes : call->frame_bytes;

	if (copy_from_user(skb_put(skb, linear), from, linear))
		return -EFAULT;
	return fill_pages(skb, from + linear, call->frame_bytes - linear);
}

static int take_tag_beside(struct sk_buff *skb)
{
	const struct vlan_ethhdr *header = (const struct vlan_ethhdr *)skb->data;
	__be16 proto;
	u16 tci;
	int ret;

	if (skb_headlen(skb) < sizeof(*header) || !eth_type_vlan(header->h_vlan_proto))
		return -EINVAL;
	proto = header->h_vlan_proto;
	skb_reset_mac_header(skb);
	ret = __skb_vlan_pop(skb, &tci);
	if (!ret)
		__vlan_hwaccel_put_tag(skb, proto, tci);
	return ret;
}

static int hold_by_another(struct softonu_injected *injected, u32 options)
{
	if (options & SOFTONU_CALL_CLONED) {
		injected->other = skb_clone(injected->skb, GFP_KERNEL);
		return injected->other ? 0 : -ENOMEM;
	}
	if (options & SOFTONU_CALL_SHARED)
		injected->other = skb_get(injected->skb);
	return 0;
}

static int shape(const struct softonu_hook_call *call, struct softonu_injected *injected)
{
	int ret = fill_frame(injected->skb, call);

	skb_set_mac_header(injected->skb, call->mac_offset);
	if (!ret && (call->options & SOFTONU_CALL_TAG_BESIDE))
		ret = take_tag_beside(injected->skb);
	if (!ret)
		ret = hold_by_another(injected, call->options);
	return ret;
}

static int finish(struct softonu_injected *injected, u32 options)
{
	if (options & SOFTONU_CALL_RAW)
		return 0;
	injected->skb = softonu_own_packet(injected->skb);
	return injected->skb ? 0 : -ENOMEM;
}

int softonu_build_packet(const struct softonu_hook_call *call, struct softonu_injected *injected)
{
	int ret;

	injected->other = NULL;
	injected->skb = alloc_skb(NET_SKB_PAD + VLAN_HLEN + call->frame_bytes, GFP_KERNEL);
	if (!injected->skb)
		return -ENOMEM;
	skb_reserve(injected->skb, NET_SKB_PAD + VLAN_HLEN);
	ret = shape(call, injected);
	if (!ret)
		ret = finish(injected, call->options);
	if (ret) {
		kfree_skb(injected->skb);
		kfree_skb(injected->other);
	}
	return ret;
}
