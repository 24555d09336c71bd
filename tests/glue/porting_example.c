// SPDX-License-Identifier: GPL-2.0-only
/*
 * The driver of the worked example in docs/porting.md, with the module's hook in place of the core.
 * tests/checks/porting_test.sh links it with the files of the example.
 */
#include <errno.h>
#include <stdio.h>

#include "driver_meta.h"
#include "src/platform/linux/glue.h"

int (*driver_classify)(struct sk_buff *skb, unsigned int kind);
int vorn_register_hook(struct vorn_hook_ops *ops);
int vorn_unregister_hook(struct vorn_hook_ops *ops);
extern int (*gpon_queue_mapping_hook)(struct sk_buff *skb);

static int failures;

static void expect(long wanted, long got, const char *name)
{
	if (wanted == got)
		return;
	printf("%s: %ld, not %ld\n", name, got, wanted);
	failures++;
}

/* The core's hook, which reads what the driver wrote and chooses a GEM port. */
static int classify(struct api_data *call)
{
	struct sk_buff *skb = call->skb;
	u32 *flags = (u32 *)((char *)skb + gpon_os_skb_flag_word_offset);

	expect(1, call->api_type, "kind");
	expect(0, *flags, "flag word at entry");
	expect(3 << 4, gpon_os_skb_port_word(skb), "port word");
	expect(1025, gpon_os_skb_gemport_id(skb), "GEM port of the driver");
	expect(1, gpon_os_skb_multicast(skb), "multicast");
	expect(60, gpon_os_skb_frame(skb).bytes, "bytes of the frame");
	gpon_os_skb_set_gemport_id(skb, 4094);
	*flags = 1u << 20;
	call->api_result = 1;
	return 2;
}

int main(void)
{
	unsigned char bytes[60];
	struct sk_buff skb = { .data = bytes, .linear_bytes = sizeof(bytes) };
	struct driver_meta *meta = (struct driver_meta *)skb.cb;
	struct vorn_hook_ops engine = { .hook = classify, .hook_id = 59 };
	struct vorn_hook_ops other = engine;

	*meta = (struct driver_meta){ .gem_port = 1025, .uni = 3, .is_multicast = 1 };
	expect(0, vorn_register_hook(&engine), "registration");
	expect(1, driver_classify(&skb, 1), "result of the frame");
	expect(4094, meta->gem_port, "GEM port of the module");
	expect(1 << 20, meta->debug, "flag word after the call");
	expect(3, meta->uni, "UNI after the call");
	expect(0, gpon_queue_mapping_hook(&skb), "queue");
	expect(-ENOENT, vorn_unregister_hook(&other), "record that was never registered");
	expect(0, vorn_unregister_hook(&engine), "removal");
	expect(1, !driver_classify, "no classifier is left");
	return failures != 0;
}
