// SPDX-License-Identifier: GPL-2.0-only
/*
 * Memory. The packet path and code under the rule table's lock allocate, so an allocation never
 * sleeps.
 *
 * The buffers of a packet live for one call and are small, so they have one block of the kernel's
 * allocator, and not one each.
 */
#include <linux/slab.h>

#include "glue.h"

/* A step has three buffers at a time, of at most 48 bytes. */
#define PACKET_MEMORY_BYTES 256

static void *counted(void *block)
{
	if (unlikely(!block))
		gpon_os_count_many(GPON_COUNT_allocation_failures, 1);
	return block;
}

/* Inlined, it would make every buffer of a packet pay for saved registers. */
static noinline void *allocate(size_t bytes)
{
	return counted(kzalloc(bytes, GFP_ATOMIC));
}

/* The platform interface has only GFP_ATOMIC, with a number of its own. */
void *gpon_os_kzalloc(size_t bytes, unsigned int flags)
{
	return allocate(bytes);
}

void gpon_os_kfree(const void *memory)
{
	kfree(memory);
}

/*
 * The buffers of a packet are in this block, from its end to its start. They are not cleared.
 */
void gpon_os_packet_memory_begin(struct packet_memory *memory)
{
	memory->block = counted(kmalloc(PACKET_MEMORY_BYTES, GFP_ATOMIC));
	memory->left = memory->block ? PACKET_MEMORY_BYTES : 0;
}

void gpon_os_packet_memory_end(struct packet_memory *memory)
{
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
