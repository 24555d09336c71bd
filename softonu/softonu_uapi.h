/* SPDX-License-Identifier: GPL-2.0-only WITH Linux-syscall-note */
/*
 * The soft ONU's injection device /dev/gpon_softonu: hook calls with any packet and any platform
 * fields, the results of the platform's two mapping functions, the kernel's clock. For root only.
 *
 * Every ioctl returns 0 or a negative errno: EFAULT for memory that cannot be read or written,
 * EINVAL for values out of range or undefined bits, ENOMEM, ENOTTY for an unknown number.
 */
#ifndef SOFTONU_UAPI_H
#define SOFTONU_UAPI_H

#include <linux/ioctl.h>
#include <linux/types.h>

#define SOFTONU_DEVICE "/dev/gpon_softonu"

/* Longest frame that the device accepts, in bytes. */
#define SOFTONU_FRAME_BYTES_MAX 16384

/* struct softonu_hook_call, options. */
#define SOFTONU_CALL_PACKET 0x01u     /* there is a packet; otherwise its pointer is null */
#define SOFTONU_CALL_PAGED 0x02u      /* frame bytes beyond linear_bytes are in pages */
#define SOFTONU_CALL_CLONED 0x04u     /* another owner has a clone of the packet */
#define SOFTONU_CALL_SHARED 0x08u     /* another owner has a reference to the packet itself */
#define SOFTONU_CALL_TAG_BESIDE 0x10u /* an 0x8100 or 0x88a8 outer tag is kept beside the frame */
#define SOFTONU_CALL_RAW 0x20u        /* pass the packet as built, without the usual preparation */
#define SOFTONU_CALL_NO_DEFAULT 0x40u /* skip the platform's own record */
#define SOFTONU_CALL_OPTIONS 0x7fu

/*
 * One hook call. The packet's fields are read before the call and, with a packet, written back as
 * the call left them. All records that are registered are called in order, until one sets a
 * result other than 0.
 */
struct softonu_hook_call {
	__u64 frame;        /* in: user address of the frame, Ethernet header first */
	__u32 frame_bytes;  /* in: 0 to SOFTONU_FRAME_BYTES_MAX */
	__u32 linear_bytes; /* in: with PAGED, at most frame_bytes; else 0 */
	__u32 mac_offset;   /* in: of the MAC header from the frame's first byte, <= frame_bytes */
	__u32 options;      /* in: SOFTONU_CALL_* */
	__u32 api_type;     /* in */
	__u32 api_param;    /* in */
	__u32 flag_word;    /* in, out */
	__u32 port_word;    /* in, out */
	__u32 mark_word;    /* in, out */
	__u16 gemport_id;   /* in, out */
	__u16 multicast;    /* in, out */
	__s32 ret;          /* out: return value of the last record's function, 0 without record */
	__s32 api_result;   /* out */
	__u32 records;      /* out: number of records called; 0 = no hook is registered */
	__u32 queue;        /* out: queue that the queue mapping chose, 0xffff = none */
};

/* struct softonu_mapping, mode. */
#define SOFTONU_MAPPING_NONE 0u   /* the function pointer is null */
#define SOFTONU_MAPPING_RESULT 1u /* the function returns a fixed value, the packet is unchanged */
#define SOFTONU_MAPPING_TABLE 2u  /* the function uses the table of the proc file */

/* State of one of the two mapping functions. */
struct softonu_mapping {
	__u32 mode;   /* SOFTONU_MAPPING_* */
	__s32 result; /* with RESULT, else 0 */
};

#define SOFTONU_IOC_MAGIC 0x78
#define SOFTONU_IOC_HOOK_CALL _IOWR(SOFTONU_IOC_MAGIC, 0, struct softonu_hook_call)
#define SOFTONU_IOC_SET_MAPPING _IOW(SOFTONU_IOC_MAGIC, 1, struct softonu_mapping)
#define SOFTONU_IOC_GET_MAPPING _IOR(SOFTONU_IOC_MAGIC, 2, struct softonu_mapping)
#define SOFTONU_IOC_SET_QUEUE_MAPPING _IOW(SOFTONU_IOC_MAGIC, 3, struct softonu_mapping)
#define SOFTONU_IOC_GET_QUEUE_MAPPING _IOR(SOFTONU_IOC_MAGIC, 4, struct softonu_mapping)
/* 1: each call of a mapping function prints one line to the kernel log,
 * "gpon_softonu: @ gpon_mapping_hook = RET" or
 * "gpon_softonu: @ gpon_queue_mapping_hook gem=G = RET"; 0: no line (the initial state). */
#define SOFTONU_IOC_SET_REPORT _IOW(SOFTONU_IOC_MAGIC, 5, __u32)
#define SOFTONU_IOC_GET_REPORT _IOR(SOFTONU_IOC_MAGIC, 6, __u32)
/* The kernel's 64-bit jiffies. */
#define SOFTONU_IOC_JIFFIES _IOR(SOFTONU_IOC_MAGIC, 7, __u64)
/* Jiffies of one second. */
#define SOFTONU_IOC_HZ _IOR(SOFTONU_IOC_MAGIC, 8, __u32)

#endif
