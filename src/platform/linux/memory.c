// SPDX-License-Identifier: GPL-2.0-only
/*
 * Memory. The packet path and code under the rule table's lock allocate, so an allocation never
 * sleeps.
 *
 * The buffers of a packet live for one call and have a few sizes. Each CPU therefore keeps the
 * blocks that were freed last and reuses them, which costs a fraction of the kernel's allocator. A
 * slot is emptied or filled by one operation that neither a softirq nor another task on the CPU can
 * interrupt. This also holds with PREEMPT_RT, where packets are preempted: a task that moves to
 * another CPU between two operations takes or leaves a block there. Kernels with memory debugging
 * pass each call to the kernel's allocator.
 */
#include <linux/log2.h>
#include <linux/percpu.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "glue.h"
#include "kept_blocks.h"

struct kept_blocks {
	void *slot[SHIFT_MAX + 1][SLOTS];
};

static DEFINE_PER_CPU(struct kept_blocks, kept);

static void *take_kept(unsigned int shift)
{
	unsigned int i;
	void *block;

	for (i = 0; i < SLOTS; i++) {
		if (!this_cpu_read(kept.slot[shift][i]))
			continue;
		block = this_cpu_xchg(kept.slot[shift][i], NULL);
		if (block)
			return block;
	}
	return NULL;
}

static bool keep(unsigned int shift, void *block)
{
	unsigned int i;

	for (i = 0; i < SLOTS; i++)
		if (!this_cpu_read(kept.slot[shift][i]) &&
		    !this_cpu_cmpxchg(kept.slot[shift][i], NULL, block))
			return true;
	return false;
}

static unsigned int class_of(size_t bytes)
{
	return order_base_2(max_t(size_t, bytes, KMALLOC_MIN_SIZE));
}

static void *allocate(size_t bytes)
{
	void *block = kzalloc(bytes, GFP_ATOMIC);

	if (unlikely(!block))
		gpon_os_count_many(GPON_COUNT_allocation_failures, 1);
	return block;
}

void *gpon_os_kzalloc(size_t bytes, unsigned int flags)
{
	unsigned int shift;
	void *block;

	/* The platform interface has only GFP_ATOMIC, with a number of its own. */
	if (!KEEPS_BLOCKS || !bytes || bytes > 1 << SHIFT_MAX)
		return allocate(bytes);
	shift = class_of(bytes);
	block = take_kept(shift);
	if (!block)
		return allocate((size_t)1 << shift);
	memset(block, 0, bytes);
	return block;
}

void gpon_os_kfree(const void *memory)
{
	void *block = (void *)memory;
	unsigned int shift;

	if (KEEPS_BLOCKS && !ZERO_OR_NULL_PTR(block)) {
		shift = ilog2(ksize(block));
		if (shift <= SHIFT_MAX && keep(shift, block))
			return;
	}
	kfree(block);
}

/*
 * The buffers of a packet are in one such block, from its end to its start. They are not cleared.
 */
void gpon_os_packet_memory_begin(struct packet_memory *memory)
{
	memory->block = KEEPS_BLOCKS ? take_kept(PACKET_MEMORY_SHIFT) : NULL;
	if (KEEPS_BLOCKS && !memory->block)
		memory->block = allocate(PACKET_MEMORY_BYTES);
	memory->left = memory->block ? PACKET_MEMORY_BYTES : 0;
}

void gpon_os_packet_memory_end(struct packet_memory *memory)
{
	if (!memory->block || keep(PACKET_MEMORY_SHIFT, memory->block))
		return;
	kfree(memory->block);
}

static size_t room_of(size_t bytes)
{
	return round_up(bytes, sizeof(void *));
}

void *gpon_os_packet_buffer_alloc(struct packet_memory *memory, size_t bytes)
{
	if (!memory || memory->left < room_of(bytes))
		return allocate(bytes);
	memory->left -= room_of(bytes);
	return memory->block + memory->left;
}

void gpon_os_packet_buffer_free(struct packet_memory *memory, void *buffer, size_t bytes)
{
	/* The last buffer of the block is the first one to be freed. */
	if (memory && memory->block && buffer == memory->block + memory->left)
		memory->left += room_of(bytes);
	else
		kfree(buffer);
}

/* No allocation or free follows this call. */
void gpon_glue_drop_memory(void)
{
	unsigned int shift, i;
	int cpu;

	for_each_possible_cpu(cpu)
		for (shift = 0; shift <= SHIFT_MAX; shift++)
			for (i = 0; i < SLOTS; i++)
				kfree(per_cpu(kept.slot[shift][i], cpu));
}
