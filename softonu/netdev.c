// SPDX-License-Identifier: GPL-2.0-only
/*
 * The network devices: created together at load, removed together at unload.
 *
 * The tables of ports change only under the lock of the network configuration, before the first device
 * can be opened and after the last one is closed. So the path of frames reads them without a lock. That
 * lock is a mutex, and nothing here differs with PREEMPT_RT.
 */
#include <linux/err.h>
#include <linux/etherdevice.h>
#include <linux/rtnetlink.h>

#include "softonu.h"

/* Room for a few stacked tags on a frame of the largest size that GPON carries and more. */
#define MTU_MAX 9216

static struct softonu_dev *ports[2 * SOFTONU_UNIS_MAX + 1 + SOFTONU_GEMS_MAX];
static unsigned int port_count;

/* Headroom that each frame needs. */
static struct softonu_dev *ani;
static struct softonu_dev *gem_of_id[SOFTONU_GEM_ID_MAX + 1];

struct softonu_dev *softonu_ani(void)
{
	return ani;
}

struct softonu_dev *softonu_find_gem(u16 gemport_id)
{
	return gemport_id <= SOFTONU_GEM_ID_MAX ? gem_of_id[gemport_id] : NULL;
}

u8 softonu_uni_port_of(const struct net *net, int ifindex)
{
	unsigned int i;

	for (i = 0; i < port_count; i++)
		if (ports[i]->role == SOFTONU_UNI && ports[i]->dev->ifindex == ifindex &&
		    net_eq(dev_net(ports[i]->dev), net))
			return ports[i]->number;
	return 0;
}

/* A cable has carrier while both ends are up; a GEM port has carrier while the fibre has. */
static int port_open(struct net_device *dev)
{
	struct softonu_dev *peer = ((struct softonu_dev *)netdev_priv(dev))->peer;

	if (!peer) {
		netif_carrier_on(dev);
	} else if (netif_running(peer->dev)) {
		netif_carrier_on(dev);
		netif_carrier_on(peer->dev);
	}
	return 0;
}

static int port_stop(struct net_device *dev)
{
	struct softonu_dev *peer = ((struct softonu_dev *)netdev_priv(dev))->peer;

	netif_carrier_off(dev);
	if (peer)
		netif_carrier_off(peer->dev);
	return 0;
}

static u64 sum(struct softonu_dev *port, enum softonu_counter first, enum softonu_counter last)
{
	u64 total = 0;
	unsigned int i;

	for (i = first; i <= last; i++)
		total += atomic64_read(&port->counters[i]);
	return total;
}

static void port_stats(struct net_device *dev, struct rtnl_link_stats64 *stats)
{
	struct softonu_dev *port = netdev_priv(dev);

	stats->rx_packets = atomic64_read(&port->counters[SOFTONU_RX_FRAMES]);
	stats->rx_bytes = atomic64_read(&port->counters[SOFTONU_RX_BYTES]);
	stats->tx_packets = atomic64_read(&port->counters[SOFTONU_TX_FRAMES]);
	stats->tx_bytes = atomic64_read(&port->counters[SOFTONU_TX_BYTES]);
	/* The stack adds the frames that it dropped because its backlog was full. */
	stats->rx_dropped = sum(port, SOFTONU_RX_SHORT, SOFTONU_RX_DOWN);
	stats->tx_dropped = sum(port, SOFTONU_TX_SHORT, SOFTONU_TX_FAR_DOWN);
}

static const struct net_device_ops port_ops = {
	.ndo_open = port_open,
	.ndo_stop = port_stop,
	.ndo_start_xmit = softonu_transmit,
	.ndo_get_stats64 = port_stats,
	.ndo_set_mac_address = eth_mac_addr,
	.ndo_validate_addr = eth_validate_addr,
};

/* No offload: the stack passes linear frames with tags and checksums in place, as on the wire.
 * No netpoll: netconsole sends each message at once, also those that gpon_flow prints under the
 * lock of its rule table. The frame would come back to that lock. */
static void port_setup(struct net_device *dev)
{
	ether_setup(dev);
	dev->netdev_ops = &port_ops;
	dev->ethtool_ops = &softonu_ethtool_ops;
	dev->priv_flags |= IFF_NO_QUEUE | IFF_DISABLE_NETPOLL;
	dev->max_mtu = MTU_MAX;
	dev->needs_free_netdev = true;
	gpon_set_lockless_transmit(dev);
	eth_hw_addr_random(dev);
}

static struct softonu_dev *create_port(enum softonu_role role, const char *prefix, u16 number)
{
	struct softonu_dev *port;
	struct net_device *dev;
	char name[IFNAMSIZ];
	int ret;

	snprintf(name, sizeof(name), "%s%u", prefix, number);
	dev = alloc_netdev(sizeof(*port), name, NET_NAME_ENUM, port_setup);
	if (!dev)
		return ERR_PTR(-ENOMEM);
	port = netdev_priv(dev);
	port->dev = dev;
	port->role = role;
	port->number = number;
	netif_carrier_off(dev);
	ret = register_netdevice(dev);
	if (ret) {
		free_netdev(dev);
		return ERR_PTR(ret);
	}
	ports[port_count++] = port;
	return port;
}

static int create_uni(u16 number)
{
	struct softonu_dev *uni = create_port(SOFTONU_UNI, "uni", number);
	struct softonu_dev *sub;

	if (IS_ERR(uni))
		return PTR_ERR(uni);
	sub = create_port(SOFTONU_SUB, "sub", number);
	if (IS_ERR(sub))
		return PTR_ERR(sub);
	uni->peer = sub;
	sub->peer = uni;
	return 0;
}

static int create_gem(u16 number, bool multicast)
{
	struct softonu_dev *gem = create_port(SOFTONU_GEM, "gem", number);

	if (IS_ERR(gem))
		return PTR_ERR(gem);
	gem->multicast = multicast;
	gem_of_id[number] = gem;
	return 0;
}

static int create_ani(void)
{
	struct softonu_dev *port = create_port(SOFTONU_ANI, "ani", 0);

	if (IS_ERR(port))
		return PTR_ERR(port);
	ani = port;
	return 0;
}

static int create_all(const struct softonu_plan *plan)
{
	unsigned int i;
	int ret = create_ani();

	for (i = 0; !ret && i < plan->unis; i++)
		ret = create_uni(i + 1);
	for (i = 0; !ret && i < plan->gems; i++)
		ret = create_gem(plan->gem_id[i], plan->gem_multicast[i]);
	return ret;
}

/* All devices are closed before the first is freed. The frame path relies on this. */
static void remove_all(void)
{
	LIST_HEAD(doomed);
	unsigned int i;

	for (i = 0; i < port_count; i++)
		unregister_netdevice_queue(ports[i]->dev, &doomed);
	unregister_netdevice_many(&doomed);
	port_count = 0;
	ani = NULL;
	memset(gem_of_id, 0, sizeof(gem_of_id));
}

/* Under one lock, so that no device is opened before its peer exists. */
int softonu_devices_create(const struct softonu_plan *plan)
{
	int ret;

	rtnl_lock();
	ret = create_all(plan);
	if (ret)
		remove_all();
	rtnl_unlock();
	return ret;
}

void softonu_devices_remove(void)
{
	rtnl_lock();
	remove_all();
	rtnl_unlock();
}

void softonu_show_counters(struct seq_file *out)
{
	unsigned int i, c;

	rtnl_lock();
	for (i = 0; i < port_count; i++)
		for (c = 0; c < SOFTONU_COUNTERS; c++)
			seq_printf(out, "%s %s %lld\n", ports[i]->dev->name,
				   softonu_counter_names[c],
				   (long long)atomic64_read(&ports[i]->counters[c]));
	rtnl_unlock();
}
