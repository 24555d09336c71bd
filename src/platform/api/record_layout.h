/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Layout of the records that the C++ core and C code share. A kernel with CONFIG_RANDSTRUCT changes
 * the order of members in C only: of marked records, and of all records that consist of function
 * pointers. GPON_KEEP_LAYOUT exempts a record, and GPON_MEMBER_AT fails the build of either
 * language where a member is elsewhere.
 */
#ifndef GPON_PLATFORM_RECORD_LAYOUT_H
#define GPON_PLATFORM_RECORD_LAYOUT_H

/* The kernel's build defines the attribute before any header is read. */
#if defined(__KERNEL__) && !defined(__cplusplus)
#define GPON_KEEP_LAYOUT __no_randomize_layout
#else
#define GPON_KEEP_LAYOUT
#endif

#ifdef __cplusplus
#define GPON_MEMBER_AT(record, member, bytes) \
    static_assert(__builtin_offsetof(record, member) == (bytes), "C and C++ differ in " #record)
#else
#define GPON_MEMBER_AT(record, member, bytes) \
    _Static_assert(__builtin_offsetof(record, member) == (bytes), "C and C++ differ in " #record)
#endif

#endif
