/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The kernel's allocator, as far as the glue's memory.c uses it, for a process. The test defines
 * the functions. It includes this header as C++, memory.c as C.
 */
#ifndef GPON_GLUE_STUB_H
#define GPON_GLUE_STUB_H

#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

void* kmalloc(size_t bytes, unsigned int flags);
void* kzalloc(size_t bytes, unsigned int flags);
void kfree(const void* block);

#ifdef __cplusplus
}
#else

/* Named by the platform interface. */
struct callback_head;
struct file;
struct proc_dir_entry;
struct sk_buff;

#define unlikely(condition) (condition)
#define noinline __attribute__((noinline))
#define GFP_ATOMIC 0x20u
#define round_up(n, to) (((n) + (to)-1) / (to) * (to))

#endif
#endif
