/* SPDX-License-Identifier: GPL-2.0-only */
/* Which blocks of memory each CPU keeps (memory.c), also for the test of it in a guest. */
#ifndef GPON_LINUX_KEPT_BLOCKS_H
#define GPON_LINUX_KEPT_BLOCKS_H

#if defined(CONFIG_KASAN) || defined(CONFIG_KMSAN) || defined(CONFIG_FAILSLAB) || \
	defined(CONFIG_DEBUG_KMEMLEAK) || defined(CONFIG_SLUB_DEBUG_ON) || \
	defined(CONFIG_DEBUG_SLAB)
#define KEEPS_BLOCKS 0
#else
#define KEEPS_BLOCKS 1
#endif

/* Sizes are powers of two. */
#define SHIFT_MAX 9
#define SLOTS 2

/* The block with all buffers of a packet. A step has three at a time, of at most 48 bytes. */
#define PACKET_MEMORY_SHIFT 8
#define PACKET_MEMORY_BYTES (1 << PACKET_MEMORY_SHIFT)

#endif
