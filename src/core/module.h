/* SPDX-License-Identifier: GPL-2.0-only */
/* The kernel's entry points into the module. Process context. */
#ifndef GPON_CORE_MODULE_H
#define GPON_CORE_MODULE_H

extern "C" {

/* Returns 0, or -1 or -12 if the proc directory or its entry cannot be created; earlier
 * registrations then remain. Panics if the hook cannot be registered. */
int init_module(void);

/* Releases everything, the hook last, and waits for the aging timer and all deferred frees. */
void cleanup_module(void);
}

#endif
