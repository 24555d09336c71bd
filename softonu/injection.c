// SPDX-License-Identifier: GPL-2.0-only
/* The injection device: a character device for root, see softonu_uapi.h. */
#include <linux/bottom_half.h>
#include <linux/compat.h>
#include <linux/jiffies.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/uaccess.h>

#include "softonu.h"

/* Options that describe the packet. */
#define PACKET_OPTIONS (SOFTONU_CALL_OPTIONS & ~SOFTONU_CALL_NO_DEFAULT)

static bool is_valid(const struct softonu_hook_call *call)
{
	u32 options = call->options;

	if (options & ~SOFTONU_CALL_OPTIONS)
		return false;
	if (!(options & SOFTONU_CALL_PACKET))
		return !(options & PACKET_OPTIONS) && !call->frame_bytes && !call->linear_bytes &&
		       !call->mac_offset;
	if (call->frame_bytes > SOFTONU_FRAME_BYTES_MAX || call->mac_offset > call->frame_bytes)
		return false;
	if ((options & SOFTONU_CALL_TAG_BESIDE) && call->mac_offset)
		return false;
	if ((options & SOFTONU_CALL_CLONED) && (options & SOFTONU_CALL_SHARED))
		return false;
	return call->linear_bytes <= (options & SOFTONU_CALL_PAGED ? call->frame_bytes : 0);
}

static void set_fields(struct sk_buff *skb, const struct softonu_hook_call *call)
{
	struct softonu_packet *packet = softonu_packet(skb);

	softonu_set_fields(skb, 0, call->gemport_id, false);
	packet->fields.flag_word = call->flag_word;
	packet->fields.port_word = call->port_word;
	packet->fields.mark_word = call->mark_word;
	packet->fields.multicast = call->multicast;
}

static void get_fields(const struct sk_buff *skb, struct softonu_hook_call *call)
{
	const struct softonu_packet *packet = softonu_packet(skb);

	call->flag_word = packet->fields.flag_word;
	call->port_word = packet->fields.port_word;
	call->mark_word = packet->fields.mark_word;
	call->gemport_id = packet->fields.gemport_id;
	call->multicast = packet->fields.multicast;
	call->queue = packet->queue;
}

/* In the context of the packet path: bottom halves disabled. With PREEMPT_RT the call can be preempted,
 * as that of a frame (hooks.c). */
static void call_hooks(struct softonu_hook_call *call, struct sk_buff *skb)
{
	bool no_default = call->options & SOFTONU_CALL_NO_DEFAULT;
	struct api_data data = {
		.api_type = call->api_type,
		.api_param = call->api_param,
		.skb = skb,
	};

	local_bh_disable();
	call->records = softonu_call_hooks(&data,
					   no_default ? &gpon_flow_mapping_hook_ops : NULL,
					   &call->ret);
	local_bh_enable();
	call->api_result = data.api_result;
}

static int call_with_packet(struct softonu_hook_call *call)
{
	struct softonu_injected injected;
	int ret = softonu_build_packet(call, &injected);

	if (ret)
		return ret;
	set_fields(injected.skb, call);
	call_hooks(call, injected.skb);
	get_fields(injected.skb, call);
	kfree_skb(injected.skb);
	kfree_skb(injected.other);
	return 0;
}

static long hook_call(void __user *argument)
{
	struct softonu_hook_call call;
	int ret = 0;

	if (copy_from_user(&call, argument, sizeof(call)))
		return -EFAULT;
	if (!is_valid(&call))
		return -EINVAL;
	call.queue = SOFTONU_NO_QUEUE;
	if (call.options & SOFTONU_CALL_PACKET)
		ret = call_with_packet(&call);
	else
		call_hooks(&call, NULL);
	if (!ret && copy_to_user(argument, &call, sizeof(call)))
		ret = -EFAULT;
	return ret;
}

static long set_mapping(enum softonu_map which, const void __user *argument)
{
	struct softonu_mapping mapping;

	if (copy_from_user(&mapping, argument, sizeof(mapping)))
		return -EFAULT;
	return softonu_map_set(which, &mapping);
}

static long get_mapping(enum softonu_map which, void __user *argument)
{
	struct softonu_mapping mapping;

	softonu_map_get(which, &mapping);
	return copy_to_user(argument, &mapping, sizeof(mapping)) ? -EFAULT : 0;
}

static long set_report(const u32 __user *argument)
{
	u32 on;

	if (get_user(on, argument))
		return -EFAULT;
	if (on > 1)
		return -EINVAL;
	softonu_set_report(on);
	return 0;
}

static long get_jiffies(void __user *argument)
{
	u64 now = get_jiffies_64();

	return copy_to_user(argument, &now, sizeof(now)) ? -EFAULT : 0;
}

static long device_ioctl(struct file *file, unsigned int command, unsigned long address)
{
	void __user *argument = (void __user *)address;

	switch (command) {
	case SOFTONU_IOC_HOOK_CALL:
		return hook_call(argument);
	case SOFTONU_IOC_SET_MAPPING:
		return set_mapping(SOFTONU_MAP_GEM, argument);
	case SOFTONU_IOC_GET_MAPPING:
		return get_mapping(SOFTONU_MAP_GEM, argument);
	case SOFTONU_IOC_SET_QUEUE_MAPPING:
		return set_mapping(SOFTONU_MAP_QUEUE, argument);
	case SOFTONU_IOC_GET_QUEUE_MAPPING:
		return get_mapping(SOFTONU_MAP_QUEUE, argument);
	case SOFTONU_IOC_SET_REPORT:
		return set_report(argument);
	case SOFTONU_IOC_GET_REPORT:
		return put_user((u32)softonu_report(), (u32 __user *)argument);
	case SOFTONU_IOC_JIFFIES:
		return get_jiffies(argument);
	case SOFTONU_IOC_HZ:
		return put_user((u32)HZ, (u32 __user *)argument);
	default:
		return -ENOTTY;
	}
}

#ifdef CONFIG_COMPAT
static long device_compat_ioctl(struct file *file, unsigned int command, unsigned long address)
{
	return device_ioctl(file, command, (unsigned long)compat_ptr(address));
}
#endif

static const struct file_operations device_operations = {
	.owner = THIS_MODULE,
	.unlocked_ioctl = device_ioctl,
#ifdef CONFIG_COMPAT
	.compat_ioctl = device_compat_ioctl,
#endif
	.llseek = noop_llseek,
};

static struct miscdevice injection_device = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "gpon_softonu",
	.fops = &device_operations,
	.mode = 0600,
};

int softonu_injection_create(void)
{
	return misc_register(&injection_device);
}

void softonu_injection_remove(void)
{
	misc_deregister(&injection_device);
}
