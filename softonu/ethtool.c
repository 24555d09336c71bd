// SPDX-License-Identifier: GPL-2.0-only
/* The counters, under the names that ethtool -S and the proc file print. */
#include "softonu.h"

const char softonu_counter_names[SOFTONU_COUNTERS][ETH_GSTRING_LEN] = {
	[SOFTONU_RX_FRAMES] = "rx_frames",
	[SOFTONU_RX_BYTES] = "rx_bytes",
	[SOFTONU_TX_FRAMES] = "tx_frames",
	[SOFTONU_TX_BYTES] = "tx_bytes",
	[SOFTONU_RX_SHORT] = "rx_drop_short",
	[SOFTONU_RX_NO_MEMORY] = "rx_drop_no_memory",
	[SOFTONU_RX_HOOK] = "rx_drop_hook",
	[SOFTONU_RX_DOWN] = "rx_drop_down",
	[SOFTONU_TX_SHORT] = "tx_drop_short",
	[SOFTONU_TX_NO_MEMORY] = "tx_drop_no_memory",
	[SOFTONU_TX_HOOK] = "tx_drop_hook",
	[SOFTONU_TX_NO_GEM] = "tx_drop_no_gem_port",
	[SOFTONU_TX_GEM_DOWNSTREAM] = "tx_drop_gem_downstream_only",
	[SOFTONU_TX_FAR_DOWN] = "tx_drop_far_side_down",
	[SOFTONU_RX_BACKLOG] = "rx_drop_backlog",
};

static void name_driver(struct net_device *dev, struct ethtool_drvinfo *info)
{
	strscpy(info->driver, KBUILD_MODNAME, sizeof(info->driver));
}

static int counter_count(struct net_device *dev, int set)
{
	return set == ETH_SS_STATS ? SOFTONU_COUNTERS : -EOPNOTSUPP;
}

static void copy_names(struct net_device *dev, u32 set, u8 *names)
{
	if (set == ETH_SS_STATS)
		memcpy(names, softonu_counter_names, sizeof(softonu_counter_names));
}

static void copy_counters(struct net_device *dev, struct ethtool_stats *stats, u64 *values)
{
	struct softonu_dev *port = netdev_priv(dev);
	unsigned int i;

	for (i = 0; i < SOFTONU_COUNTERS; i++)
		values[i] = atomic64_read(&port->counters[i]);
}

const struct ethtool_ops softonu_ethtool_ops = {
	.get_drvinfo = name_driver,
	.get_link = ethtool_op_get_link,
	.get_sset_count = counter_count,
	.get_strings = copy_names,
	.get_ethtool_stats = copy_counters,
};
