/* SPDX-License-Identifier: GPL-2.0-only */
/* The proc entry "debug", to which operators write debug commands. Process context; the control
 * mutex admits one writer at a time. */
#ifndef GPON_CORE_PROC_H
#define GPON_CORE_PROC_H

#include "../platform/api/kernel_api.h"

extern "C" {

/* Executes one debug command of at most 131 bytes; returns count, -22 (too long) or -14
 * (unreadable). */
long gpon_flow_proc_write(file*, const char* user_text, unsigned long count);

/* Prints the engine switch to the kernel log; returns 0 (end of file). */
int gpon_flow_proc_read(void);
}

#endif
