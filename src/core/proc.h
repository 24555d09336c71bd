/* SPDX-License-Identifier: GPL-2.0-only */
/* The proc entry "debug", through which operators give debug commands. Process context; one writer
 * at a time gets past the control mutex. */
#ifndef GPON_CORE_PROC_H
#define GPON_CORE_PROC_H

#include "../platform/api/kernel_api.h"

extern "C" {

/* One debug command of at most 131 bytes; count, or -22 (too long), or -14 (unreadable). */
long gpon_flow_proc_write(file*, const char* user_text, unsigned long count);

/* Prints the engine switch to the kernel log; 0, the reader gets nothing. */
int gpon_flow_proc_read(void);
}

#endif
