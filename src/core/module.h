/* SPDX-License-Identifier: GPL-2.0-only */
/* The kernel's entry points into the module. Process context. */
#ifndef GPON_CORE_MODULE_H
#define GPON_CORE_MODULE_H

extern "C" {

/* 0; -1 or -12 when the proc directory or its entry cannot be made, with all that was registered
 * before still standing; panics when the hook cannot be registered. */
int init_module(void);

/* Takes everything down, the hook last, and waits for the aging timer and all deferred frees. */
void cleanup_module(void);
}

#endif
