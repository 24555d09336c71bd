/* SPDX-License-Identifier: GPL-2.0-only */
/* Helpers for raw bytes: unaligned words, copies, comparisons. They are not safe if another context
 * changes the memory; see atomics.h. */
#ifndef GPON_BYTES_H
#define GPON_BYTES_H

#include <span>

#include "types.h"

namespace gpon {

template <typename T> [[nodiscard]] inline T load_unaligned(const void* from)
{
    T value;
    __builtin_memcpy(&value, from, sizeof(value));
    return value;
}

inline void copy_bytes(void* to, const void* from, size_t bytes)
{
    __builtin_memcpy(to, from, bytes);
}

inline void clear_bytes(void* at, size_t bytes)
{
    __builtin_memset(at, 0, bytes);
}

[[nodiscard]] inline bool same_bytes(const void* a, const void* b, size_t bytes)
{
    return __builtin_memcmp(a, b, bytes) == 0;
}

/* The bytes of a record. */
template <typename Record> [[nodiscard]] inline std::span<u8> bytes_of(Record& record)
{
    return {reinterpret_cast<u8*>(&record), sizeof(Record)};
}

[[nodiscard]] inline i32 text_length(const char* text)
{
    i32 length = 0;
    while (text[length] != '\0')
        ++length;
    return length;
}

} // namespace gpon

#endif
