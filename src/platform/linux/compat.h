/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The only file that depends on kernel versions: one name for each interface whose name or form
 * differs between the supported kernels, Linux 5.4 or newer (docs/porting.md). For the C glue of both
 * modules; 5.4 compiles it as gnu89.
 */
#ifndef GPON_LINUX_COMPAT_H
#define GPON_LINUX_COMPAT_H

#include <linux/netdevice.h>
#include <linux/fs.h>
#include <linux/proc_fs.h>
#include <linux/timer.h>
#include <linux/version.h>
#include <net/genetlink.h>

#define GPON_KERNEL_SINCE(major, minor) (LINUX_VERSION_CODE >= KERNEL_VERSION(major, minor, 0))

/* Operations of a proc entry. Without a seek function an entry refuses lseek(), which shells and
 * stdio call. */
#if GPON_KERNEL_SINCE(5, 6)
#define GPON_PROC_OPS(name, read_function, write_function) \
	static const struct proc_ops name = { \
		.proc_read = read_function, \
		.proc_write = write_function, \
		.proc_lseek = noop_llseek, \
	}
#define GPON_PROC_SEQ_OPS(name, open_function, write_function) \
	static const struct proc_ops name = { \
		.proc_open = open_function, \
		.proc_read = seq_read, \
		.proc_write = write_function, \
		.proc_lseek = seq_lseek, \
		.proc_release = single_release, \
	}
#else
#define GPON_PROC_OPS(name, read_function, write_function) \
	static const struct file_operations name = { \
		.owner = THIS_MODULE, \
		.read = read_function, \
		.write = write_function, \
		.llseek = noop_llseek, \
	}
#define GPON_PROC_SEQ_OPS(name, open_function, write_function) \
	static const struct file_operations name = { \
		.owner = THIS_MODULE, \
		.open = open_function, \
		.read = seq_read, \
		.write = write_function, \
		.llseek = seq_lseek, \
		.release = single_release, \
	}
#endif

#if GPON_KERNEL_SINCE(5, 17)
#define gpon_pde_data(inode) pde_data(inode)
#else
#define gpon_pde_data(inode) PDE_DATA(inode)
#endif

#if GPON_KERNEL_SINCE(6, 2)
#define gpon_timer_delete_sync(timer) timer_delete_sync(timer)
#else
#define gpon_timer_delete_sync(timer) del_timer_sync(timer)
#endif

/* Passes a received packet to the stack, from any context. */
#if GPON_KERNEL_SINCE(5, 18)
#define gpon_netif_rx(skb) netif_rx(skb)
#else
#define gpon_netif_rx(skb) (in_interrupt() ? netif_rx(skb) : netif_rx_ni(skb))
#endif

/* Transmit without the queue lock. */
#if GPON_KERNEL_SINCE(6, 12)
#define gpon_set_lockless_transmit(dev) ((dev)->lltx = true)
#else
#define gpon_set_lockless_transmit(dev) ((dev)->features |= NETIF_F_LLTX)
#endif

/* The flag of a multicast group that needs CAP_NET_ADMIN. Older kernels cannot restrict a group. Kbuild
 * looks for the member, which stable series have since a late release and without a flag of this name. */
#if defined(GENL_MCAST_CAP_NET_ADMIN)
#define GPON_GROUP_NEEDS_ADMIN GENL_MCAST_CAP_NET_ADMIN
#elif defined(GPON_GROUP_HAS_FLAGS)
#define GPON_GROUP_NEEDS_ADMIN GENL_UNS_ADMIN_PERM
#endif

/* Stores a text of a trace event. Since 6.10 the event's declaration alone names the source. */
#if GPON_KERNEL_SINCE(6, 10)
#define gpon_assign_str(field, source) __assign_str(field)
#else
#define gpon_assign_str(field, source) __assign_str(field, source)
#endif

/* DEFAULT_SYMBOL_NAMESPACE and MODULE_IMPORT_NS take a string since 6.13. Neither module uses a
 * namespace, so no definition is needed here. */

#endif
