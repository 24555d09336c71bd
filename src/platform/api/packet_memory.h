/* SPDX-License-Identifier: GPL-2.0-only */
/* The memory of a packet's buffers; kernel_api.h has the functions. If all
 * fields are 0, the packet has no block. */
#ifndef GPON_PLATFORM_PACKET_MEMORY_H
#define GPON_PLATFORM_PACKET_MEMORY_H

#include "record_layout.h"

/* A kernel has no such header; the glue includes the kernel's types first. */
#ifdef __cplusplus
#include <stddef.h>
#endif

struct packet_memory {
    void* block;
    size_t left; /* bytes at the start of the block that no buffer has */
} GPON_KEEP_LAYOUT;
GPON_MEMBER_AT(struct packet_memory, block, 0);
GPON_MEMBER_AT(struct packet_memory, left, sizeof(void*));

#endif
