/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Helpers for memory that another context may change while it is read. Words shared without a lock
 * are read and written with relaxed atomic accesses. They cost as much as plain ones and have
 * defined behaviour under concurrency.
 */
#ifndef GPON_ATOMICS_H
#define GPON_ATOMICS_H

#include <type_traits>

#include "bytes.h"

namespace gpon {

#ifdef GPON_HOST_BUILD
template <typename T> [[nodiscard]] inline T load_relaxed(const T& word)
{
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

template <typename T> inline void store_relaxed(T& word, T value)
{
    __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}
#else
// The kernel's own READ_ONCE and WRITE_ONCE: gcc computes the address of an atomic access with an
// extra instruction.
template <typename T> [[nodiscard]] inline T load_relaxed(const T& word)
{
    static_assert(sizeof(T) <= sizeof(u64));
    return *const_cast<const volatile T*>(&word);
}

template <typename T> inline void store_relaxed(T& word, T value)
{
    static_assert(sizeof(T) <= sizeof(u64));
    *const_cast<volatile T*>(&word) = value;
}
#endif

// The thread sanitizer of user space knows neither barriers nor dependencies. The kernel's data
// race detector, which compiles objects with the same option, knows both.
#if defined(GPON_HOST_BUILD) && defined(__SANITIZE_THREAD__)
#define GPON_LACKS_BARRIERS
#endif

// Pairs with store_release: writes before that store are visible to reads after this load.
template <typename T> [[nodiscard]] inline T load_acquire(const T& word)
{
    return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

template <typename T> inline void store_release(T& word, T value)
{
    __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

// Barriers between relaxed accesses: stores before it become visible before stores after it, loads
// before it are done before loads after it. Without barriers, users of these are still ordered by a
// lock.
inline void order_stores()
{
#ifdef GPON_LACKS_BARRIERS
    asm volatile("" ::: "memory");
#else
    __atomic_thread_fence(__ATOMIC_RELEASE);
#endif
}

inline void order_loads()
{
#ifdef GPON_LACKS_BARRIERS
    asm volatile("" ::: "memory");
#else
    __atomic_thread_fence(__ATOMIC_ACQUIRE);
#endif
}

// Publishes a pointer: all earlier writes are visible to a reader that dereferences it.
template <typename T> inline void rcu_assign_pointer(T*& slot, T* value)
{
    __atomic_store_n(&slot, value, __ATOMIC_RELEASE);
}

// Reads a pointer that rcu_assign_pointer() publishes. Loads through it depend on its value, which
// orders them on every CPU that runs Linux; an acquire load would cost a barrier.
template <typename T> [[nodiscard]] inline T* rcu_dereference(T* const& slot)
{
#ifdef GPON_LACKS_BARRIERS
    return __atomic_load_n(&slot, __ATOMIC_ACQUIRE);
#else
    return __atomic_load_n(&slot, __ATOMIC_RELAXED);
#endif
}

// Copies out of, or into, memory that another context may write, or read, at the same time. The
// shared side is an allocation of its own and therefore aligned to a word.
template <typename Word>
inline size_t copy_words_from_shared(u8* to, const u8* shared, size_t bytes)
{
    size_t done = 0;
    for (; bytes - done >= sizeof(Word); done += sizeof(Word)) {
        const Word word = load_relaxed(*reinterpret_cast<const Word*>(shared + done));
        copy_bytes(to + done, &word, sizeof(word));
    }
    return done;
}

template <typename Word>
inline size_t copy_words_to_shared(u8* shared, const u8* from, size_t bytes)
{
    size_t done = 0;
    for (; bytes - done >= sizeof(Word); done += sizeof(Word))
        store_relaxed(*reinterpret_cast<Word*>(shared + done), load_unaligned<Word>(from + done));
    return done;
}

inline void copy_from_shared(void* to, const void* shared, size_t bytes)
{
    u8* out = static_cast<u8*>(to);
    const u8* in = static_cast<const u8*>(shared);
    size_t done = copy_words_from_shared<u64>(out, in, bytes);
    done += copy_words_from_shared<u16>(out + done, in + done, bytes - done);
    copy_words_from_shared<u8>(out + done, in + done, bytes - done);
}

// The same for a record of a known size, without a loop: the packet path copies records of some
// words.
template <size_t bytes, typename Word = u64>
[[gnu::always_inline]] inline void copy_record_from_shared(u8* to, const u8* shared)
{
    constexpr size_t step = sizeof(Word);
    if constexpr (bytes >= step) {
        copy_words_from_shared<Word>(to, shared, step);
        copy_record_from_shared<bytes - step, Word>(to + step, shared + step);
    } else if constexpr (bytes != 0) {
        using half = std::conditional_t<step == sizeof(u64), u32,
                                        std::conditional_t<step == sizeof(u32), u16, u8>>;
        copy_record_from_shared<bytes, half>(to, shared);
    }
}

inline void copy_to_shared(void* shared, const void* from, size_t bytes)
{
    u8* out = static_cast<u8*>(shared);
    const u8* in = static_cast<const u8*>(from);
    size_t done = copy_words_to_shared<u64>(out, in, bytes);
    done += copy_words_to_shared<u16>(out + done, in + done, bytes - done);
    copy_words_to_shared<u8>(out + done, in + done, bytes - done);
}

} // namespace gpon

#endif
