/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Interfaces between the sources of gpon_softonu.ko.
 *
 *     sub1 --+          ONU (e.g. a Linux bridge)            +-- gem1025
 *     sub2 --+-- uni1, uni2 ... ======== ... ani0 --fibre----+-- gem1026
 *
 * A frame sent on a subscriber-side device passes hook kind 0 and is received on its UNI. A frame
 * that leaves on ani0 passes kind 1 and goes to the chosen GEM port. A frame sent on a far-side GEM
 * device passes kind 3 and is received on ani0. A frame that leaves on a UNI passes kind 2 and goes
 * to the subscriber.
 */
#ifndef SOFTONU_H
#define SOFTONU_H

#include <linux/ethtool.h>
#include <linux/netdevice.h>
#include <linux/seq_file.h>
#include <linux/string.h>
#include <linux/types.h>

#include "../src/platform/api/platform_hook.h"
#include "../src/platform/linux/compat.h"
#include "softonu_packet.h"
#include "softonu_uapi.h"

#define SOFTONU_UNIS_MAX 15
#define SOFTONU_GEMS_MAX 64
#define SOFTONU_GEM_ID_MAX 4095

/* ---- hooks.c: what the platform exports to the module that it drives */

/* 0; -EINVAL for a record without name or function; -EEXIST for one that is registered. Process
 * context. The record belongs to the framework until vorn_unregister_hook returns. */
int vorn_register_hook(struct vorn_hook_ops *ops);
/* 0; -EINVAL for null; -ENOENT for a record that is not registered. No call of the record's
 * function runs any more when it returns. Process context. */
int vorn_unregister_hook(struct vorn_hook_ops *ops);
extern struct vorn_hook_ops gpon_flow_mapping_hook_ops;

/* Calls the records in order until one sets a result other than 0. Returns the number of records
 * called; ret gets the return value of the last one. Bottom halves disabled. */
unsigned int softonu_call_hooks(struct api_data *data, const struct vorn_hook_ops *except,
				int *ret);
/* Adds the platform's own record to the chain or removes it. Process context. */
int softonu_default_hook(bool on);
void softonu_show_hooks(struct seq_file *out);
/* The engine switch: hook kind 4. */
void softonu_switch_engine(bool on);

/* ---- mapping.c: the two mapping functions behind the exported pointers */

extern int (*gpon_mapping_hook)(struct sk_buff *skb);
extern int (*gpon_queue_mapping_hook)(struct sk_buff *skb);

enum softonu_map { SOFTONU_MAP_GEM, SOFTONU_MAP_QUEUE, SOFTONU_MAPS };

/* Initial tables: everything goes to GEM port first_gem (none when negative) and queue 0. */
int softonu_maps_init(int first_gem);
void softonu_maps_exit(void);
/* 0, -EINVAL for an unknown mode or a value without ANSWER, -ENOMEM. Process context. */
int softonu_map_set(enum softonu_map which, const struct softonu_mapping *mapping);
void softonu_map_get(enum softonu_map which, struct softonu_mapping *mapping);
/* Executes one line of the proc file. 0, -EINVAL, -ENOSPC (table full), -ENOMEM. */
int softonu_map_command(enum softonu_map which, char *line);
void softonu_show_map(enum softonu_map which, struct seq_file *out);
void softonu_set_report(bool on);
bool softonu_report(void);

/* ---- frame.c: prepares packets for the hooks */

/* Makes the packet the caller's own, linear, writable, with its VLAN tag in the frame. Data is at
 * the Ethernet header. Returns null and frees the packet if there is no memory. */
struct sk_buff *softonu_own_packet(struct sk_buff *skb);
/* Fills the platform's fields. */
void softonu_set_fields(struct sk_buff *skb, u8 port, u16 gemport_id, bool multicast);
/* Makes one hook call; returns api_result. Bottom halves disabled. */
int softonu_classify(struct sk_buff *skb, enum gpon_api_type kind);

/* ---- netdev.c */

enum softonu_counter {
	SOFTONU_RX_FRAMES, SOFTONU_RX_BYTES, SOFTONU_TX_FRAMES, SOFTONU_TX_BYTES,
	/* Drops; the ONU-side device counts all of them. */
	SOFTONU_RX_SHORT, SOFTONU_RX_NO_MEMORY, SOFTONU_RX_HOOK, SOFTONU_RX_DOWN,
	SOFTONU_TX_SHORT, SOFTONU_TX_NO_MEMORY, SOFTONU_TX_HOOK, SOFTONU_TX_NO_GEM,
	SOFTONU_TX_GEM_DOWNSTREAM, SOFTONU_TX_FAR_DOWN,
	/* The stack's receive backlog was full; the receiving device counts these. */
	SOFTONU_RX_BACKLOG,
	SOFTONU_COUNTERS
};

/* The module parameters. */
struct softonu_plan {
	unsigned int unis;
	unsigned int gems;
	u16 gem_id[SOFTONU_GEMS_MAX];
	bool gem_multicast[SOFTONU_GEMS_MAX];
};

struct softonu_dev {
	struct net_device *dev;
	enum softonu_role { SOFTONU_UNI, SOFTONU_SUB, SOFTONU_ANI, SOFTONU_GEM } role;
	u16 number; /* UNI port or GEM port id */
	bool multicast;
	struct softonu_dev *peer; /* UNI and its subscriber side; null for the others */
	atomic64_t counters[SOFTONU_COUNTERS];
};

/* Creates every device; returns a negative errno and removes all if one cannot be created. */
int softonu_devices_create(const struct softonu_plan *plan);
/* Removes every device; returns when no frame is in transit any more. */
void softonu_devices_remove(void);
void softonu_show_counters(struct seq_file *out);

/* ---- path.c: the path of a frame between two devices */
netdev_tx_t softonu_transmit(struct sk_buff *skb, struct net_device *dev);
struct softonu_dev *softonu_ani(void);
struct softonu_dev *softonu_find_gem(u16 gemport_id);
/* UNI port whose own device (no VLAN device on it) has the interface index, 0 = none. */
u8 softonu_uni_port_of(const struct net *net, int ifindex);

/* ---- ethtool.c */
extern const char softonu_counter_names[SOFTONU_COUNTERS][ETH_GSTRING_LEN];
extern const struct ethtool_ops softonu_ethtool_ops;

/* ---- user space: procfs.c, injection.c (with packet_builder.c) */
int softonu_proc_create(void);
void softonu_proc_remove(void);
int softonu_injection_create(void);
void softonu_injection_remove(void);
/* Returns the packet that a test requests, or an error pointer. */
struct softonu_injected {
	struct sk_buff *skb;   /* the packet for the hook */
	struct sk_buff *other; /* the clone or second reference, which simulates another owner */
};
int softonu_build_packet(const struct softonu_hook_call *call, struct softonu_injected *injected);

#endif
