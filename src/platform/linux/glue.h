/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The platform interface for the kernel side, and the functions that module.c calls at load and
 * unload. The latter run in process context, one at a time.
 */
#ifndef GPON_LINUX_GLUE_H
#define GPON_LINUX_GLUE_H

/* The platform interface declares no type of the kernel. */
#include <linux/fs.h>
#include <linux/mutex.h>
#include <linux/proc_fs.h>
#include <linux/rcupdate.h>
#include <linux/spinlock.h>
#include <linux/timer.h>
#include <linux/types.h>

#include "../api/kernel_api.h"

/* Lets user space open the character device that the core has registered. */
void gpon_glue_open_chrdev(void);

/* Each releases all remaining resources of its service; there may be none. */
void gpon_glue_drop_chrdev(void);
void gpon_glue_drop_proc(void);
void gpon_glue_drop_timer(void);

/* Waits for all readers that have started and for all deferred frees. */
void gpon_glue_wait_for_rcu(void);

/* Opens and closes the netlink family. close waits for requests that run; there may be none. */
void gpon_glue_open_netlink(void);
void gpon_glue_drop_netlink(void);

/* The records of the counters, before anything counts and after everything has. make returns 0 or
 * -ENOMEM. */
int gpon_glue_make_counters(void);
void gpon_glue_drop_counters(void);

#endif
