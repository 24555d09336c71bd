/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Annotations for the thread sanitizer.
 *
 * liburcu orders its threads with barriers inside a library that is not instrumented; acquire and
 * release annotations state this order. The platform's own bookkeeping takes locks where a kernel's
 * fast path takes none; "hidden" hides these. Otherwise every allocation would order threads that
 * the module does not order.
 */
#pragma once

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define GPON_HOST_TSAN 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define GPON_HOST_TSAN 1
#endif

#ifdef GPON_HOST_TSAN
extern "C" {
void __tsan_acquire(void* at);
void __tsan_release(void* at);
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
void AnnotateIgnoreSyncBegin(const char* file, int line);
void AnnotateIgnoreSyncEnd(const char* file, int line);
}
#endif

namespace gpon::host::tsan {

inline void acquire([[maybe_unused]] void* at)
{
#ifdef GPON_HOST_TSAN
    __tsan_acquire(at);
#endif
}

inline void release([[maybe_unused]] void* at)
{
#ifdef GPON_HOST_TSAN
    __tsan_release(at);
#endif
}

/* While an object exists, accesses and locks of this thread are not checked and order nothing. */
class hidden {
public:
    hidden()
    {
#ifdef GPON_HOST_TSAN
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
        AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
#endif
    }
    ~hidden()
    {
#ifdef GPON_HOST_TSAN
        AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
#endif
    }
    hidden(const hidden&) = delete;
    hidden& operator=(const hidden&) = delete;
};

} // namespace gpon::host::tsan
