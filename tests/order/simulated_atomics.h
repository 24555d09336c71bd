/* SPDX-License-Identifier: GPL-2.0-only */
/* In place of base/atomics.h: each access goes to the simulated memory (memory_model.h). */
#ifndef GPON_ATOMICS_H
#define GPON_ATOMICS_H

#include <cstring>

#include "base/bytes.h"

namespace gpon {

namespace simulated {

u64 load(const void* word, size_t bytes, bool acquire);
void store(void* word, size_t bytes, u64 value, bool release);
void order_stores();
void order_loads();

template <typename T> T load_as(const T& word, bool acquire)
{
    const u64 value = load(&word, sizeof(T), acquire);
    T read;
    std::memcpy(&read, &value, sizeof(T));
    return read;
}

template <typename T> void store_as(T& word, T value, bool release)
{
    u64 bits = 0;
    std::memcpy(&bits, &value, sizeof(T));
    store(&word, sizeof(T), bits, release);
}

} // namespace simulated

template <typename T> [[nodiscard]] inline T load_relaxed(const T& word)
{
    return simulated::load_as(word, false);
}

template <typename T> [[nodiscard]] inline T load_acquire(const T& word)
{
    return simulated::load_as(word, true);
}

template <typename T> inline void store_relaxed(T& word, T value)
{
    simulated::store_as(word, value, false);
}

template <typename T> inline void store_release(T& word, T value)
{
    simulated::store_as(word, value, true);
}

inline void order_stores()
{
    simulated::order_stores();
}

inline void order_loads()
{
    simulated::order_loads();
}

} // namespace gpon

#endif
