// SPDX-License-Identifier: GPL-2.0-only
/*
 * The path of a frame between two devices. All code here runs in the transmit function of the first
 * device: bottom halves disabled, several CPUs at once, no lock. The devices are created together,
 * and freed together after the last of them is closed, so their pointers need no protection.
 *
 * With PREEMPT_RT a frame can be preempted here. Nothing depends on the processor: the counters are
 * atomic, and all other data belongs to the frame.
 */
#include <linux/etherdevice.h>

#include "softonu.h"

static void count(struct softonu_dev *port, enum softonu_counter counter)
{
	atomic64_inc(&port->counters[counter]);
}

static void drop(struct sk_buff *skb, struct softonu_dev *port, enum softonu_counter reason)
{
	count(port, reason);
	kfree_skb(skb);
}

/* Takes a frame from the stack; afterwards data points to the Ethernet header. */
static struct sk_buff *take_frame(struct sk_buff *skb, struct softonu_dev *port, bool receiving)
{
	if (skb->len < ETH_HLEN) {
		drop(skb, port, receiving ? SOFTONU_RX_SHORT : SOFTONU_TX_SHORT);
		return NULL;
	}
	skb = softonu_own_packet(skb);
	if (skb)
		skb_reset_mac_header(skb);
	else
		count(port, receiving ? SOFTONU_RX_NO_MEMORY : SOFTONU_TX_NO_MEMORY);
	return skb;
}

static void count_frame(struct softonu_dev *port, enum softonu_counter frames, unsigned int bytes)
{
	atomic64_inc(&port->counters[frames]);
	atomic64_add(bytes, &port->counters[frames + 1]);
}

/* The frame arrives on a device as from a wire: all metadata of the sending side is removed, and
 * its checksums must be correct. */
static void deliver(struct sk_buff *skb, struct softonu_dev *to)
{
	unsigned int bytes = skb->len;

	memset(skb->cb, 0, sizeof(skb->cb));
	skb_scrub_packet(skb, true);
	skb->priority = 0;
	skb->encapsulation = 0;
	skb->ip_summed = CHECKSUM_NONE;
	skb->csum_valid = 0;
	skb->protocol = eth_type_trans(skb, to->dev);
	if (gpon_netif_rx(skb) == NET_RX_SUCCESS)
		count_frame(to, SOFTONU_RX_FRAMES, bytes);
	else
		count(to, SOFTONU_RX_BACKLOG);
}

/* Into the ONU: kind 0 on a UNI, kind 3 on the ANI. */
static void enter_onu(struct sk_buff *skb, struct softonu_dev *from, struct softonu_dev *to)
{
	bool upstream = to->role == SOFTONU_UNI;
	unsigned int bytes;

	skb = take_frame(skb, to, true);
	if (!skb)
		return;
	bytes = skb->len;
	count_frame(from, SOFTONU_TX_FRAMES, bytes);
	if (!netif_running(to->dev)) {
		drop(skb, to, SOFTONU_RX_DOWN);
		return;
	}
	softonu_set_fields(skb, upstream ? to->number : 0, upstream ? 0 : from->number,
			   from->multicast);
	if (softonu_classify(skb, upstream ? GPON_API_UP_UNI : GPON_API_DOWN_ANI)) {
		drop(skb, to, SOFTONU_RX_HOOK);
		return;
	}
	deliver(skb, to);
}

static void leave_onu(struct sk_buff *skb, struct softonu_dev *from, struct softonu_dev *to)
{
	if (!netif_running(to->dev)) {
		drop(skb, from, SOFTONU_TX_FAR_DOWN);
		return;
	}
	count_frame(from, SOFTONU_TX_FRAMES, skb->len);
	deliver(skb, to);
}

static void leave_on_uni(struct sk_buff *skb, struct softonu_dev *uni)
{
	skb = take_frame(skb, uni, false);
	if (!skb)
		return;
	softonu_set_fields(skb, uni->number, 0, false);
	if (softonu_classify(skb, GPON_API_DOWN_UNI))
		drop(skb, uni, SOFTONU_TX_HOOK);
	else
		leave_onu(skb, uni, uni->peer);
}

static void leave_on_ani(struct sk_buff *skb, struct softonu_dev *ani)
{
	struct softonu_dev *gem;

	skb = take_frame(skb, ani, false);
	if (!skb)
		return;
	softonu_set_fields(skb, softonu_uni_port_of(dev_net(ani->dev), skb->skb_iif), 0, false);
	if (softonu_classify(skb, GPON_API_UP_ANI)) {
		drop(skb, ani, SOFTONU_TX_HOOK);
		return;
	}
	gem = softonu_find_gem(softonu_packet(skb)->fields.gemport_id);
	if (!gem)
		drop(skb, ani, SOFTONU_TX_NO_GEM);
	else if (gem->multicast)
		drop(skb, ani, SOFTONU_TX_GEM_DOWNSTREAM);
	else
		leave_onu(skb, ani, gem);
}

netdev_tx_t softonu_transmit(struct sk_buff *skb, struct net_device *dev)
{
	struct softonu_dev *port = netdev_priv(dev);

	/* A sender that bypasses the queues tests this before it disables bottom halves. A sender
	 * that sees a running device here finishes before the first device is freed. */
	if (!netif_running(dev)) {
		kfree_skb(skb);
		return NETDEV_TX_OK;
	}
	switch (port->role) {
	case SOFTONU_SUB:
		enter_onu(skb, port, port->peer);
		break;
	case SOFTONU_GEM:
		enter_onu(skb, port, softonu_ani());
		break;
	case SOFTONU_UNI:
		leave_on_uni(skb, port);
		break;
	case SOFTONU_ANI:
		leave_on_ani(skb, port);
		break;
	}
	return NETDEV_TX_OK;
}
