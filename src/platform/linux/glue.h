/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The seam as seen from the kernel's side, and what the files of the glue have among each other:
 * the two ends of the module's life that module.c walks through. The latter are for process
 * context, one at a time, as module load and unload are.
 */
#ifndef GPON_LINUX_GLUE_H
#define GPON_LINUX_GLUE_H

/* The seam declares no type that the kernel has. */
#include <linux/fs.h>
#include <linux/mutex.h>
#include <linux/proc_fs.h>
#include <linux/rcupdate.h>
#include <linux/spinlock.h>
#include <linux/timer.h>
#include <linux/types.h>

#include "../api/kernel_api.h"

/* Lets user space reach the character device that the core has registered. */
void gpon_glue_open_chrdev(void);

/* Each takes down what its service still has standing; nothing is an ordinary state. */
void gpon_glue_drop_chrdev(void);
void gpon_glue_drop_proc(void);
void gpon_glue_drop_timer(void);

/* Returns when no reader of an earlier moment and no deferred free is left. */
void gpon_glue_wait_for_rcu(void);

/* Gives memory that is kept for the next packet back to the kernel. Nobody allocates or frees any
 * more. */
void gpon_glue_drop_memory(void);

#endif
