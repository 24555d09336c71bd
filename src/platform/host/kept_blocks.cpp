// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/kept_blocks.h"

#include <cstdlib>
#include <mutex>
#include <vector>

#include "platform/api/kernel_api.h"

namespace gpon::host {
namespace {

// Guards the shared data: the list of magazines, the depot, the list of all rooms.
constinit std::mutex depot_lock;
constinit magazine* magazines = nullptr;
constinit block* depot[kept_sizes] = {};

// Never destroyed: threads may still free blocks when the process ends.
std::vector<block*>& all_rooms()
{
    static auto* rooms = new std::vector<block*>;
    return *rooms;
}

// A magazine outlives its thread: its counts stay valid, and the next thread gets its blocks.
magazine& unused_magazine()
{
    for (magazine* one = magazines; one; one = one->next)
        if (!one->in_use)
            return *one;
    auto* made = new magazine;
    made->next = magazines;
    magazines = made;
    return *made;
}

class registration {
public:
    registration()
    {
        const std::lock_guard held(depot_lock);
        own_magazine = &unused_magazine();
        own_magazine->in_use = true;
    }
    ~registration()
    {
        const std::lock_guard held(depot_lock);
        own_magazine->in_use = false;
        own_magazine = nullptr;
    }
    registration(const registration&) = delete;
    registration& operator=(const registration&) = delete;
};

// The first blocks of a list, up to a maximum, and the rest of the list.
struct cut {
    block* last;
    block* rest;
    uint32_t count;
};

cut cut_after(block* first, uint32_t at_most)
{
    block* last = first;
    uint32_t count = 1;
    for (; count < at_most && last->next; ++count)
        last = last->next;
    block* rest = last->next;
    last->next = nullptr;
    return {last, rest, count};
}

} // namespace

magazine& make_own_magazine()
{
    thread_local const registration until_thread_ends;
    if (own_magazine)
        return *own_magazine;
    // A thread that frees while it ends: the free is counted, but the thread has no magazine.
    static auto* of_ended_threads = [] {
        const std::lock_guard held(depot_lock);
        magazine& made = unused_magazine();
        made.in_use = true;
        return &made;
    }();
    return *of_ended_threads;
}

block* refill(magazine& from, size_t size)
{
    const std::lock_guard held(depot_lock);
    if (block* first = depot[size]) {
        const cut taken = cut_after(first, taken_at_once);
        depot[size] = taken.rest;
        from.kept[size] = first->next;
        from.kept_count[size] = taken.count - 1;
        return first;
    }
    auto* room = static_cast<block*>(std::malloc(sizeof(block) + size * kept_step));
    if (!room)
        return nullptr;
    room->mark = 0;
    all_rooms().push_back(room);
    return room;
}

void give_half_to_depot(magazine& from, size_t size)
{
    const std::lock_guard held(depot_lock);
    const cut kept = cut_after(from.kept[size], kept_at_most / 2);
    const cut given = cut_after(kept.rest, kept_at_most);
    given.last->next = depot[size];
    depot[size] = kept.rest;
    from.kept_count[size] = kept.count;
}

void free_live_kept()
{
    std::unique_lock held(depot_lock);
    const std::vector<block*> rooms = all_rooms();
    held.unlock();
    for (block* room : rooms)
        if (room->mark == live_mark)
            kfree(room + 1);
}

memory_use sum_of_magazines()
{
    const std::lock_guard held(depot_lock);
    memory_use sum = {};
    for (const magazine* one = magazines; one; one = one->next) {
        sum.live_blocks += one->live_blocks.value();
        sum.live_bytes += one->live_bytes.value();
        sum.allocations += one->allocations.value();
        sum.allocated_bytes += one->allocated_bytes.value();
    }
    return sum;
}

void clear_counts()
{
    const std::lock_guard held(depot_lock);
    for (magazine* one = magazines; one; one = one->next) {
        one->live_blocks.clear();
        one->live_bytes.clear();
        one->allocations.clear();
        one->allocated_bytes.clear();
    }
}

} // namespace gpon::host
