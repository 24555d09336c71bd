/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Freed blocks of the module's allocator, kept by size for the next allocation like the slabs of a
 * kernel. Each thread has its own blocks, and takes and returns them without a lock. Blocks that
 * one thread frees and another allocates pass through a shared depot. No block is returned to the C
 * library.
 *
 * Not used under a sanitizer, which has to see every allocation and free.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/host/host.h"

namespace gpon::host {

/* The header of every block. */
struct block {
    block* next;
    block* previous;
    uint64_t bytes;
    uint64_t mark; // live_mark while it is allocated
};
inline constexpr uint64_t live_mark = 0x6b7a616c6c6f6321;

/* Sizes that are kept: multiples of kept_step up to kept_largest bytes. */
inline constexpr size_t kept_step = 16;
inline constexpr size_t kept_largest = 1024;
inline constexpr size_t kept_sizes = kept_largest / kept_step + 1;

/* A counter that only its own thread changes and any thread reads. */
class thread_count {
public:
    void add(uint64_t amount)
    {
        value_.store(value_.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
    }
    [[nodiscard]] uint64_t value() const { return value_.load(std::memory_order_relaxed); }
    void clear() { value_.store(0, std::memory_order_relaxed); }

private:
    std::atomic<uint64_t> value_ = 0;
};

/* Blocks and counters of one thread; a counter is below 0 if the thread freed blocks of others. */
struct magazine {
    block* kept[kept_sizes] = {}; // linked by next
    uint32_t kept_count[kept_sizes] = {};
    thread_count live_blocks, live_bytes, allocations, allocated_bytes;
    magazine* next = nullptr; // in the list of all
    bool in_use = false;      // by a running thread
};

/* The magazine of the calling thread. */
inline constinit thread_local magazine* own_magazine = nullptr;
[[nodiscard]] magazine& make_own_magazine();
[[nodiscard]] inline magazine& this_magazine()
{
    return own_magazine ? *own_magazine : make_own_magazine();
}

/* Memory for a block and its header, with a mark that is not live_mark; null without memory. */
[[nodiscard]] block* refill(magazine& from, size_t size);
[[nodiscard]] inline block* take_kept(magazine& from, size_t bytes)
{
    const size_t size = (bytes + kept_step - 1) / kept_step;
    block* room = from.kept[size];
    if (!room) [[unlikely]]
        return refill(from, size);
    from.kept[size] = room->next;
    --from.kept_count[size];
    return room;
}

/* Maximum number of blocks of one size that a thread keeps. It passes half of them to the depot and
 * takes a few at a time from there, so both happen rarely. */
inline constexpr uint32_t kept_at_most = 1024;
inline constexpr uint32_t taken_at_once = 64;

/* Takes back the memory of a block that still has the size it was allocated with. */
void give_half_to_depot(magazine& from, size_t size);
inline void give_kept(magazine& to, block* room)
{
    const size_t size = (room->bytes + kept_step - 1) / kept_step;
    room->next = to.kept[size];
    to.kept[size] = room;
    if (++to.kept_count[size] > kept_at_most) [[unlikely]]
        give_half_to_depot(to, size);
}

/* For reset and for counting, while no other thread allocates. */
void free_live_kept();
[[nodiscard]] memory_use sum_of_magazines();
void clear_counts();

} // namespace gpon::host
