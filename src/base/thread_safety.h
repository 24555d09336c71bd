/* SPDX-License-Identifier: GPL-2.0-only */
/* Lock contracts as code: clang's thread-safety analysis checks them, other compilers see none. */
#ifndef GPON_THREAD_SAFETY_H
#define GPON_THREAD_SAFETY_H

#if defined(__clang__) && defined(__cplusplus)
#define GPON_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define GPON_THREAD_ATTRIBUTE(x)
#endif

#define GPON_CAPABILITY(kind) GPON_THREAD_ATTRIBUTE(capability(kind))
#define GPON_SCOPED_CAPABILITY GPON_THREAD_ATTRIBUTE(scoped_lockable)
#define GPON_ACQUIRE(...) GPON_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define GPON_ACQUIRE_SHARED(...) GPON_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define GPON_RELEASE(...) GPON_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define GPON_RELEASE_SHARED(...) GPON_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define GPON_REQUIRES(...) GPON_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define GPON_REQUIRES_SHARED(...) GPON_THREAD_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
#define GPON_ASSERT(...) GPON_THREAD_ATTRIBUTE(assert_capability(__VA_ARGS__))
#define GPON_ASSERT_SHARED(...) GPON_THREAD_ATTRIBUTE(assert_shared_capability(__VA_ARGS__))
#define GPON_EXCLUDES(...) GPON_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/* For functions that implement a lock: their callers are checked against the contract, the body is
 * not. */
#define GPON_NO_LOCK_ANALYSIS GPON_THREAD_ATTRIBUTE(no_thread_safety_analysis)
#define GPON_GUARDED_BY(x) GPON_THREAD_ATTRIBUTE(guarded_by(x))

#endif
