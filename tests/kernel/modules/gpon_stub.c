// SPDX-License-Identifier: GPL-2.0-only
/*
 * Sends one frame that is shorter than an Ethernet header, which no program can: "insmod gpon_stub.ko
 * device=NAME", a device of the caller's network namespace. The frame leaves while the module loads.
 */
#include <linux/if_ether.h>
#include <linux/module.h>
#include <linux/netdevice.h>
#include <linux/nsproxy.h>
#include <linux/sched.h>
#include <linux/skbuff.h>

static char *device = "";
module_param(device, charp, 0444);
MODULE_PARM_DESC(device, "the device that sends");

static unsigned int bytes = ETH_HLEN - 1;
module_param(bytes, uint, 0444);
MODULE_PARM_DESC(bytes, "length of the frame");

static struct sk_buff *new_stub(struct net_device *dev)
{
	struct sk_buff *skb = alloc_skb(LL_RESERVED_SPACE(dev) + bytes, GFP_KERNEL);

	if (!skb)
		return NULL;
	skb_reserve(skb, LL_RESERVED_SPACE(dev));
	skb_put_zero(skb, bytes);
	skb_reset_mac_header(skb);
	skb_reset_network_header(skb);
	skb->protocol = htons(ETH_P_802_3);
	skb->dev = dev;
	return skb;
}

static int __init send(void)
{
	struct net_device *dev = dev_get_by_name(current->nsproxy->net_ns, device);
	struct sk_buff *skb;
	int ret;

	if (!dev)
		return -ENODEV;
	skb = new_stub(dev);
	ret = skb ? dev_queue_xmit(skb) : -ENOMEM;
	dev_put(dev);
	/* A positive result means that the frame did not reach the driver. */
	return ret > 0 ? -EIO : ret;
}
module_init(send);

static void __exit leave(void)
{
}
module_exit(leave);

MODULE_DESCRIPTION("Sends a frame shorter than its header, for tests");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");
