/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The kernel's memory and per-CPU interfaces, as far as the glue's memory.c uses them, for a
 * process. The test defines the functions. It includes this header as C++, memory.c as C.
 *
 * A per-CPU variable is an array. The build defines the name of the only one, kept, as the element
 * of the current CPU (every second one).
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

enum { STUB_CPUS = 2 };
extern int stub_cpu;

/* Called before each per-CPU operation: an interrupt or another task may run here, and the caller
 * may continue on another CPU. */
void stub_before_operation(void);

extern size_t stub_smallest_block;
void* kzalloc(size_t bytes, unsigned int flags);
void kfree(const void* block);
size_t ksize(const void* block);

#ifdef __cplusplus
}
#else

/* Named by the platform interface. */
struct callback_head;
struct file;
struct proc_dir_entry;
struct sk_buff;

#define unlikely(condition) (condition)
#define GFP_ATOMIC 0u
#define KMALLOC_MIN_SIZE stub_smallest_block
#define ZERO_OR_NULL_PTR(block) ((uintptr_t)(block) <= 16)

#define round_up(n, to) (((n) + (to)-1) / (to) * (to))
#define max_t(type, a, b) ((type)(a) > (type)(b) ? (type)(a) : (type)(b))
#define ilog2(n) (63u - (unsigned int)__builtin_clzll(n))
#define order_base_2(n) ((n) > 1 ? ilog2((n)-1) + 1 : 0u)

/* Follows "static", which therefore applies to the mark. The test sets the variable to its value at
 * load. The elements between those of the CPUs are no memory of the module. */
#define DEFINE_PER_CPU(type, name) \
    const char name##_mark __attribute__((unused)) = 1; \
    type name##_of_cpu[2 * STUB_CPUS]; \
    const size_t name##_bytes = sizeof(name##_of_cpu)
#define for_each_possible_cpu(cpu) for ((cpu) = 0; (cpu) < STUB_CPUS; (cpu)++)
#define per_cpu(variable, cpu) \
    (*({ \
        stub_cpu = (cpu); \
        &(variable); \
    }))

#define this_cpu_read(variable) \
    ({ \
        stub_before_operation(); \
        (variable); \
    })
/* For edits of memory.c; the original exchanges. */
#define this_cpu_write(variable, value) \
    ({ \
        stub_before_operation(); \
        (variable) = (value); \
    })
#define this_cpu_cmpxchg(variable, old, new) \
    ({ \
        stub_before_operation(); \
        void** slot = &(variable); \
        void* found = *slot; \
        if (found == (old)) \
            *slot = (new); \
        found; \
    })
#define this_cpu_xchg(variable, new) \
    ({ \
        stub_before_operation(); \
        void** slot = &(variable); \
        void* found = *slot; \
        *slot = (new); \
        found; \
    })

#endif
#endif
