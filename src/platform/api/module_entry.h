/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The functions of the core that a platform calls by their names, to load and unload the module;
 * plain C. All other calls go through what the core registers: hook, device, proc entry, timer.
 * Process context, one call at a time.
 */
#ifndef GPON_PLATFORM_MODULE_ENTRY_H
#define GPON_PLATFORM_MODULE_ENTRY_H

#ifdef __cplusplus
extern "C" {
#define GPON_CORE_ENTRY(name) name
#else
/* A kernel's glue has an init_module and a cleanup_module of its own: Kbuild renames the core's. */
#define GPON_CORE_ENTRY(name) gpon_core_##name
#endif

/* Returns 0; -1 or -12 if the proc directory or its entry cannot be created: earlier registrations
 * then stay. Panics if the hook cannot be registered. */
int GPON_CORE_ENTRY(init_module)(void);

/* Unregisters and frees everything, the hook last. Waits for the aging timer and all deferred
 * frees. */
void GPON_CORE_ENTRY(cleanup_module)(void);

/* Destroys the rule table and its timer, for a platform that undoes a failed load: both exist
 * before the first step that can fail. Returns 0, or -1 if there is no table. */
int gpon_hash_exit(void);

#ifdef __cplusplus
}
#endif
#endif
