// SPDX-License-Identifier: GPL-2.0-only
/*
 * The two ends of the module's life. The core's own init_module and cleanup_module are compiled
 * under other names (Kbuild) and run in here. The core does not roll back a load that failed; in
 * a process that is harmless, but here the code goes away with the failure, so the glue takes down
 * what still stands.
 *
 * On the way out the core gives up its hook last, when its stores are already empty: packets may
 * meet it until then, and the framework's unregister function returns when no call is left.
 */
#include <linux/init.h>
#include <linux/module.h>

#include "glue.h"

int gpon_core_init_module(void);
void gpon_core_cleanup_module(void);
int gpon_hash_exit(void);

/* The build hides what is not said to be seen, and the kernel looks for these two by name. */
__visible __attribute__((visibility("default"))) int init_module(void);
__visible __attribute__((visibility("default"))) void cleanup_module(void);

static void take_down(void)
{
	gpon_glue_drop_chrdev();
	gpon_glue_drop_proc();
	gpon_glue_drop_timer();
	gpon_glue_wait_for_rcu();
	gpon_glue_drop_memory();
}

static int __init load(void)
{
	int ret = gpon_core_init_module();

	if (ret) {
		gpon_glue_drop_proc();
		/* The rule table and its timer are up before anything that can fail. */
		gpon_hash_exit();
		take_down();
		return ret;
	}
	gpon_glue_open_chrdev();
	return 0;
}
module_init(load);

static void __exit unload(void)
{
	gpon_core_cleanup_module();
	take_down();
}
module_exit(unload);

MODULE_DESCRIPTION("GPON ONU flow engine: carries frames along the OMCI managed entity graph");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");
