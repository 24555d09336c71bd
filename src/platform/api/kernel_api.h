/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The platform interface: every kernel service that the module core uses, and nothing else.
 *
 * The core calls each service under the kernel's own name. The symbol has the prefix gpon_os_, so
 * the core neither needs kernel headers (most services are inline functions or macros there) nor
 * collides with libc and liburcu in a process. C glue includes this header too and defines
 * gpon_os_NAME; one declaration serves both sides.
 *
 * A port implements this file: platform/linux and platform/host are examples.
 */
#ifndef GPON_PLATFORM_KERNEL_API_H
#define GPON_PLATFORM_KERNEL_API_H

#include "../../base/thread_safety.h"
#include "../../include/counters.h"
#include "observe.h"
#include "packet_memory.h"
#include "platform_hook.h"
#include "record_layout.h"
#include "tracepoint.h"

#ifdef __cplusplus
#include <stdarg.h>

#include "../../base/types.h"

#define GPON_SEAM(ret, name, args) ret name args __asm__("gpon_os_" #name)
#define GPON_SEAM_RESULT(ret, name, args) [[nodiscard]] GPON_SEAM(ret, name, args)
#define GPON_SEAM_PRINTF(ret, name, args, text, first) \
    ret name args __asm__("gpon_os_" #name) __attribute__((format(printf, text, first)))
#define GPON_SEAM_DATA(type, name) extern type name __asm__("gpon_os_" #name)

/* Head of a deferred free, in the kernel's layout and with the kernel's name: the name is part of a
 * callback's type in kernels that check indirect calls. */
struct alignas(sizeof(void*)) callback_head {
    callback_head* next;
    void (*func)(callback_head*);
};
using rcu_head = callback_head;

/* The glue defines locks and timer, because their size depends on kernel and debug options. */
struct GPON_CAPABILITY("spinlock") spinlock;
struct GPON_CAPABILITY("mutex") mutex;
struct timer_list;
struct file;
struct proc_dir_entry;

enum gfp_t : unsigned { GFP_ATOMIC };

extern "C" {
#else
#define GPON_SEAM(ret, name, args) ret gpon_os_##name args
#define GPON_SEAM_RESULT(ret, name, args) GPON_SEAM(ret, name, args)
#define GPON_SEAM_PRINTF(ret, name, args, text, first) \
    ret gpon_os_##name args __attribute__((format(printf, text, first)))
#define GPON_SEAM_DATA(type, name) extern type gpon_os_##name
#endif

/* ---- memory: zero-filled, never sleeps, returns null on failure; kfree(null) does nothing.
 * Both allocators count their failures (GPON_COUNT_allocation_failures). */
#ifdef __cplusplus
GPON_SEAM_RESULT(void*, kzalloc, (size_t bytes, gfp_t flags));
#else
void* gpon_os_kzalloc(size_t bytes, unsigned int flags);
#endif
GPON_SEAM(void, kfree, (const void* memory));

/* ---- buffers of a packet's steps: not filled, at most some hundred bytes, freed within the step,
 * the last one first. A packet's memory is one block in which its buffers are; it begins before the
 * first step and ends after the last one. Without memory (null or cleared), or without room, a
 * buffer is a block of its own. Allocation never sleeps and returns null on failure. bytes and
 * memory are the same in both calls. */
GPON_SEAM(void, packet_memory_begin, (struct packet_memory * memory));
GPON_SEAM(void, packet_memory_end, (struct packet_memory * memory));
GPON_SEAM_RESULT(void*, packet_buffer_alloc, (struct packet_memory * memory, size_t bytes));
GPON_SEAM(void, packet_buffer_free, (struct packet_memory * memory, void* buffer, size_t bytes));

/* ---- kernel log: the kernel's formatting rules (%#x adds 0x to 0 as well) on every platform.
 * printk starts a log line, pr_cont continues the line that the same context printed last. */
GPON_SEAM_PRINTF(int, printk, (const char* text, ...), 1, 2);
GPON_SEAM_PRINTF(int, pr_cont, (const char* text, ...), 1, 2);
GPON_SEAM(int, vpr_cont, (const char* text, va_list args));
/* Writes at most bytes - 1 characters and a terminator; returns the length of the whole text. */
GPON_SEAM_PRINTF(int, snprintf, (char* buffer, size_t bytes, const char* text, ...), 3, 4);
GPON_SEAM(void, dump_stack, (void));
/* Does not return. It is not declared so, because objtool follows calls of external functions. */
GPON_SEAM_PRINTF(void, panic, (const char* text, ...), 1, 2);

/* ---- RCU */
GPON_SEAM(void, rcu_read_lock, (void));
GPON_SEAM(void, rcu_read_unlock, (void));
GPON_SEAM(void, call_rcu, (struct callback_head * head, void (*free_it)(struct callback_head*)));
/* Waits until every callback passed to call_rcu has run. Process context. */
GPON_SEAM(void, rcu_barrier, (void));
/* Debug kernels only (GPON_DEBUG_CHECKS): reports a list access that is neither inside a read-side
 * section nor under gpon_flow_control_mutex. */
GPON_SEAM(void, check_list_access, (void));
/* The same kernels: reports a change of a list by a caller without gpon_flow_control_mutex. */
GPON_SEAM(void, check_list_change, (void));

/* ---- locks: gpon_hash_lock guards the rule table and is taken with bottom halves disabled;
 * gpon_flow_control_mutex admits one control caller (ioctl, proc write, unload) at a time. */
GPON_SEAM_DATA(struct spinlock, gpon_hash_lock);
GPON_SEAM_DATA(struct mutex, gpon_flow_control_mutex);
GPON_SEAM(void, spin_lock_init, (struct spinlock * lock));
GPON_SEAM(void, spin_lock_bh, (struct spinlock * lock));
GPON_SEAM(void, spin_unlock_bh, (struct spinlock * lock));
GPON_SEAM(void, mutex_lock, (struct mutex * lock));
GPON_SEAM(void, mutex_unlock, (struct mutex * lock));

/* ---- time: everything in jiffies. The timer's callback runs in softirq context. */
GPON_SEAM_DATA(struct timer_list, gpon_hash_timer);
GPON_SEAM_RESULT(unsigned long, get_jiffies_64, (void));
GPON_SEAM(void, timer_setup,
          (struct timer_list * timer, void (*expired)(struct timer_list*), unsigned int flags));
GPON_SEAM(int, mod_timer, (struct timer_list * timer, unsigned long expires));
/* Stops the timer and waits for a running callback. */
GPON_SEAM(int, del_timer_sync, (struct timer_list * timer));

/* ---- user memory: returns the number of bytes that could not be copied. Process context. */
GPON_SEAM_RESULT(unsigned long, copy_from_user,
                 (void* to, const void* user_from, unsigned long bytes));

/* ---- character device and proc entries */
struct gpon_file_operations {
    int (*open)(struct file* file);
    long (*unlocked_ioctl)(struct file* file, unsigned int command, unsigned long argument);
    long (*compat_ioctl)(struct file* file, unsigned int command, unsigned long argument);
} GPON_KEEP_LAYOUT;
GPON_MEMBER_AT(struct gpon_file_operations, open, 0);
GPON_MEMBER_AT(struct gpon_file_operations, unlocked_ioctl, sizeof(void*));
GPON_MEMBER_AT(struct gpon_file_operations, compat_ioctl, 2 * sizeof(void*));
/* 0 or a negative errno. */
GPON_SEAM_RESULT(int, __register_chrdev,
                 (unsigned int major, unsigned int first_minor, unsigned int minors,
                  const char* name, const struct gpon_file_operations* operations));
GPON_SEAM(void, __unregister_chrdev,
          (unsigned int major, unsigned int first_minor, unsigned int minors, const char* name));
/* Null on failure; a null parent is the proc root. */
GPON_SEAM_RESULT(struct proc_dir_entry*, proc_mkdir,
                 (const char* name, struct proc_dir_entry* parent));
GPON_SEAM_RESULT(struct proc_dir_entry*, create_proc_entry,
                 (const char* name, unsigned int mode, struct proc_dir_entry* parent));
/* read returns 0 (end of file); write returns the number of accepted bytes or a negative errno. */
GPON_SEAM(void, set_proc_handlers,
          (struct proc_dir_entry * entry, int (*read)(void),
           long (*write)(struct file* file, const char* user_text, unsigned long count)));
GPON_SEAM(void, remove_proc_entry, (const char* name, struct proc_dir_entry* parent));

/* ---- counters: each CPU has a record (include/counters.h), all zero at load.
 * Counts a frame that used a place of the outcome table and passed, and notes the time. Packet
 * path. */
GPON_SEAM(void, count_use, (unsigned long place));
/* Adds to one counter of this CPU. Any context but a hard interrupt. */
GPON_SEAM(void, count_many, (enum gpon_counter counter, unsigned long amount));
/* The records one after the other, null after the last one: *cpu is -1 before the first call. */
GPON_SEAM_RESULT(const struct gpon_cpu_counters*, next_cpu_counters, (int* cpu));

/* ---- events for listeners (platform/api/observe.h). All may be called under the lock of the rule
 * table. wants_events returns 0 if nobody listens, which costs little. misses_event returns 1 if an
 * event would reach nobody at present, and counts it; the caller then neither makes nor sends it.
 */
GPON_SEAM_RESULT(int, wants_events, (void));
GPON_SEAM_RESULT(int, misses_event, (void));
GPON_SEAM(void, send_event, (const struct gpon_event* event));

/* ---- trace events (platform/api/tracepoint.h). A bit for each event, set while somebody traces
 * it. It is no function, because the quick path reads it. hit_tracepoint may be called under the
 * lock of the rule table, and for an event whose bit has just been cleared. */
GPON_SEAM_DATA(unsigned int, tracepoints_on);
GPON_SEAM(void, hit_tracepoint, (const struct gpon_trace_record* record));

/* ---- packets: the platform's socket buffer and the fields that the platform keeps beside it.
 * Offset of the per-packet flag word (u32, host order) from the packet's address. It is no
 * function, because it is read for each message. */
GPON_SEAM_DATA(const unsigned int, skb_flag_word_offset);
/* First byte of the Ethernet header, and the number of readable bytes from there. Returned in two
 * registers, because every frame is read. */
struct gpon_frame_bytes {
    const unsigned char* first;
    unsigned long bytes;
};
GPON_SEAM_RESULT(struct gpon_frame_bytes, skb_frame, (const struct sk_buff* skb));
/* The same from the packet's MAC header (head pointer plus MAC header offset). */
GPON_SEAM_RESULT(struct gpon_frame_bytes, skb_mac_frame, (const struct sk_buff* skb));
/* Source-port word: the UNI port number is in bits 4 to 7. */
GPON_SEAM_RESULT(unsigned int, skb_port_word, (const struct sk_buff* skb));
/* The second platform word, copied into the header summary. */
GPON_SEAM_RESULT(unsigned int, skb_mark_word, (const struct sk_buff* skb));
GPON_SEAM_RESULT(unsigned short, skb_gemport_id, (const struct sk_buff* skb));
GPON_SEAM(void, skb_set_gemport_id, (struct sk_buff * skb, unsigned short gemport_id));
/* 1 if the packet came on a multicast GEM port. */
GPON_SEAM_RESULT(unsigned short, skb_multicast, (const struct sk_buff* skb));

#ifdef __cplusplus
/* Lock contracts, separate from the declarations above: after an asm label clang cannot refer to
 * the parameter's name. */
void spin_lock_bh(spinlock* lock) GPON_ACQUIRE(*lock);
void spin_unlock_bh(spinlock* lock) GPON_RELEASE(*lock);
void mutex_lock(mutex* lock) GPON_ACQUIRE(*lock);
void mutex_unlock(mutex* lock) GPON_RELEASE(*lock);

/* The right to read the instance lists, as a capability of the analysis; there is no such object.
 * A read-side section grants it, and so does gpon_flow_control_mutex (gpon::control_guard). */
struct GPON_CAPABILITY("RCU read-side section") rcu_section;
extern rcu_section gpon_rcu_section;
void rcu_read_lock() GPON_ACQUIRE_SHARED(gpon_rcu_section);
void rcu_read_unlock() GPON_RELEASE_SHARED(gpon_rcu_section);

/* Contracts of the functions that read or change the instance lists. */
#define GPON_READS_LISTS GPON_REQUIRES_SHARED(gpon_rcu_section)
#define GPON_CHANGES_LISTS GPON_REQUIRES(gpon_flow_control_mutex) GPON_READS_LISTS

/* For functions that are called through a pointer, which carries no contract: their caller's right
 * is asserted at the entry, for the analysis and, in debug kernels, at run time. */
inline void assert_reads_lists() GPON_ASSERT_SHARED(gpon_rcu_section);
inline void assert_changes_lists() GPON_ASSERT(gpon_flow_control_mutex)
    GPON_ASSERT_SHARED(gpon_rcu_section);

inline void assert_reads_lists()
{
#ifdef GPON_DEBUG_CHECKS
    check_list_access();
#endif
}

inline void assert_changes_lists()
{
#ifdef GPON_DEBUG_CHECKS
    check_list_change();
#endif
}

/* ---- the platform's packet path, under its own exported names */
[[nodiscard]] int vorn_register_hook(vorn_hook_ops* ops);
int vorn_unregister_hook(vorn_hook_ops* ops);
extern vorn_hook_ops gpon_flow_mapping_hook_ops;
/* Packet to int, -1 = failure; null if the platform has no such function. */
extern int (*gpon_mapping_hook)(sk_buff*);
/* Packet to int, 0 = a priority queue was found for the packet's GEM port. */
extern int (*gpon_queue_mapping_hook)(sk_buff*);

#ifdef GPON_HOST_BUILD
/* The host platform's switch: off, every frame replays its rule. */
extern bool gpon_host_remembers_outcomes;
#endif
}
#endif
#endif
