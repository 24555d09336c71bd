// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/*
 * Load and unload of the module. The core's init_module and cleanup_module are compiled under
 * other names (Kbuild) and are called here. The core does not roll back a failed load. This is
 * harmless in a process, but the kernel frees the code of the module, so the glue releases what is
 * left.
 *
 * At unload the core unregisters its hook last, after it has emptied its stores. Packets may reach
 * the hook until then; the framework's unregister function returns when no call is left.
 */
#include <linux/init.h>
#include <linux/module.h>

#include "../api/module_entry.h"
#include "glue.h"

/* The build hides all symbols without this attribute; the kernel finds these two by name. */
__visible __attribute__((visibility("default"))) int init_module(void);
__visible __attribute__((visibility("default"))) void cleanup_module(void);

static void take_down(void)
{
	gpon_glue_drop_chrdev();
	gpon_glue_drop_proc();
	gpon_glue_drop_timer();
	gpon_glue_wait_for_rcu();
	gpon_glue_drop_counters();
}

static int __init load(void)
{
	int ret = gpon_glue_make_counters();

	if (ret)
		return ret;
	ret = gpon_core_init_module();
	if (ret) {
		gpon_glue_drop_proc();
		/* The rule table and its timer are initialized before any step that can fail. */
		gpon_hash_exit();
		take_down();
		return ret;
	}
	gpon_glue_open_chrdev();
	gpon_glue_open_netlink();
	return 0;
}
module_init(load);

static void __exit unload(void)
{
	/* First: nobody reads what is being taken down. */
	gpon_glue_drop_netlink();
	gpon_core_cleanup_module();
	take_down();
}
module_exit(unload);

MODULE_DESCRIPTION("GPON ONU flow engine: classifies frames by the graph of OMCI managed entities");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");
