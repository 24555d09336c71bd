/* SPDX-License-Identifier: GPL-2.0-only */
/* The two doors from user space: character device and proc entry. Process context; callers are
 * let in one at a time. */
#ifndef GPON_CORE_DOORS_H
#define GPON_CORE_DOORS_H

#include "../platform/api/kernel_api.h"

extern "C" {

extern const gpon_file_operations gpon_flow_file_operations;

/* 0 or -1 from the command; -25 for a foreign type or number, -14 for any other command. */
long gpon_flow_ioctl(file*, unsigned int command, unsigned long argument);

/* One debug command of at most 131 bytes; count, or -22 (too long), or -14 (unreadable). */
long gpon_flow_proc_write(file*, const char* user_text, unsigned long count);

/* Prints the engine switch to the kernel log; 0, the reader gets nothing. */
int gpon_flow_proc_read(void);
}

#endif
