// SPDX-License-Identifier: GPL-2.0-only
/* Load and unload of the soft ONU, and its module parameters. */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/module.h>
#include <linux/moduleparam.h>

#include "softonu.h"

static unsigned int unis = 2;
module_param(unis, uint, 0444);
MODULE_PARM_DESC(unis, "number of UNIs, 1 to 15 (default 2): devices uni1.., peers sub1..");

static unsigned short gem_ports[SOFTONU_GEMS_MAX] = { 1025, 1026 };
static unsigned int gem_port_count = 2;
module_param_array(gem_ports, ushort, &gem_port_count, 0444);
MODULE_PARM_DESC(gem_ports, "unicast GEM port ids (default 1025,1026): devices gemID");

static unsigned short multicast_gem_ports[SOFTONU_GEMS_MAX];
static unsigned int multicast_gem_port_count;
module_param_array(multicast_gem_ports, ushort, &multicast_gem_port_count, 0444);
MODULE_PARM_DESC(multicast_gem_ports, "multicast GEM port ids (default none): devices gemID");

static int plan_gem(struct softonu_plan *plan, u16 id, bool multicast)
{
	unsigned int i;

	/* A packet for which no GEM port was chosen carries id 0. */
	if (id < 1 || id > SOFTONU_GEM_ID_MAX || plan->gems == SOFTONU_GEMS_MAX) {
		pr_err("GEM port %u: at most %d ports with ids from 1 to %d\n", id,
		       SOFTONU_GEMS_MAX, SOFTONU_GEM_ID_MAX);
		return -EINVAL;
	}
	for (i = 0; i < plan->gems; i++) {
		if (plan->gem_id[i] == id) {
			pr_err("GEM port %u is named twice\n", id);
			return -EINVAL;
		}
	}
	plan->gem_id[plan->gems] = id;
	plan->gem_multicast[plan->gems++] = multicast;
	return 0;
}

static int make_plan(struct softonu_plan *plan)
{
	unsigned int i;
	int ret = 0;

	if (unis < 1 || unis > SOFTONU_UNIS_MAX) {
		pr_err("unis=%u is not in 1 to %d\n", unis, SOFTONU_UNIS_MAX);
		return -EINVAL;
	}
	plan->unis = unis;
	plan->gems = 0;
	for (i = 0; !ret && i < gem_port_count; i++)
		ret = plan_gem(plan, gem_ports[i], false);
	for (i = 0; !ret && i < multicast_gem_port_count; i++)
		ret = plan_gem(plan, multicast_gem_ports[i], true);
	return ret;
}

static int __init create_interfaces(void)
{
	int ret = softonu_proc_create();

	if (ret)
		return ret;
	ret = softonu_injection_create();
	if (ret)
		softonu_proc_remove();
	return ret;
}

/* The hook chain, the mappings and the devices exist before user space can reach them. */
static int __init softonu_init(void)
{
	struct softonu_plan plan;
	int ret = make_plan(&plan);

	if (ret)
		return ret;
	ret = softonu_maps_init(gem_port_count ? gem_ports[0] : -1);
	if (ret)
		return ret;
	ret = softonu_default_hook(true);
	if (ret)
		goto no_hook;
	ret = softonu_devices_create(&plan);
	if (ret)
		goto no_devices;
	ret = create_interfaces();
	if (ret)
		goto no_interfaces;
	return 0;

no_interfaces:
	softonu_devices_remove();
no_devices:
	softonu_default_hook(false);
no_hook:
	softonu_maps_exit();
	return ret;
}

/* A module that registers a hook depends on this one, so only the platform's own hook is left. */
static void __exit softonu_exit(void)
{
	softonu_injection_remove();
	softonu_proc_remove();
	softonu_devices_remove();
	softonu_default_hook(false);
	softonu_maps_exit();
}

module_init(softonu_init);
module_exit(softonu_exit);
MODULE_LICENSE("GPL v2");
MODULE_DESCRIPTION("Simulated ONU platform: hooks, packets, UNI and GEM devices");
