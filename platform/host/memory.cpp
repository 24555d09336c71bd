// SPDX-License-Identifier: GPL-2.0-only
/*
 * Every block carries a header in front of it, and the headers of all live blocks are linked, so
 * that reset() can free what a dropped module left behind. Under the address sanitizer the header's
 * second half is poisoned: it is the gap that catches a write in front of a block.
 */
#include <cstdlib>
#include <mutex>

#include "platform/host/context.h"
#include "platform/host/faults.h"
#include "platform/host/state.h"
#include "platform/host/tsan.h"
#include "platform/kernel_api.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define GPON_HOST_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define GPON_HOST_ASAN 1
#endif
#ifdef GPON_HOST_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace gpon::host {
namespace {

constexpr uint64_t live_mark = 0x6b7a616c6c6f6321;

struct block {
    block* next;
    block* previous;
    uint64_t bytes;
    uint64_t mark;
};
static_assert(sizeof(block) % alignof(std::max_align_t) == 0);

constinit std::mutex list_lock;
constinit block live = {&live, &live, 0, 0};
constinit memory_use use = {};

void set_guarded([[maybe_unused]] block* header, [[maybe_unused]] bool guarded)
{
#ifdef GPON_HOST_ASAN
    constexpr size_t size = sizeof(header->bytes) + sizeof(header->mark);
    if (guarded)
        __asan_poison_memory_region(&header->bytes, size);
    else
        __asan_unpoison_memory_region(&header->bytes, size);
#endif
}

void link(block* header)
{
    const tsan::hidden bookkeeping;
    const std::lock_guard held(list_lock);
    header->next = &live;
    header->previous = live.previous;
    header->previous->next = header;
    live.previous = header;
    ++use.live_blocks;
    use.live_bytes += header->bytes;
    use.allocated_bytes += header->bytes;
}

void unlink(block* header)
{
    const tsan::hidden bookkeeping;
    const std::lock_guard held(list_lock);
    header->next->previous = header->previous;
    header->previous->next = header->next;
    --use.live_blocks;
    use.live_bytes -= header->bytes;
}

void count_allocation()
{
    const tsan::hidden bookkeeping;
    const std::lock_guard held(list_lock);
    ++use.allocations;
}

} // namespace

memory_use memory()
{
    const tsan::hidden bookkeeping;
    const std::lock_guard held(list_lock);
    return use;
}

void reset_memory()
{
    while (live.next != &live)
        kfree(live.next + 1);
    use = {};
}

} // namespace gpon::host

using namespace gpon::host;

void* kzalloc(size_t bytes, gfp_t)
{
    count_allocation();
    if (take_fault(fault::alloc) || bytes > SIZE_MAX - sizeof(block))
        return nullptr;
    auto* header = static_cast<block*>(std::calloc(1, sizeof(block) + bytes));
    if (!header)
        return nullptr;
    header->bytes = bytes;
    header->mark = live_mark;
    link(header);
    set_guarded(header, true);
    return header + 1;
}

void kfree(const void* memory)
{
    if (!memory)
        return;
    block* header = static_cast<block*>(const_cast<void*>(memory)) - 1;
    // Read before the guard is lifted: a block freed twice must reach the sanitizer as it is.
    if (!header->next)
        fatal("kfree of a block that is not allocated: %p", memory);
    set_guarded(header, false);
    if (header->mark != live_mark)
        fatal("kfree of a block that is not allocated: %p", memory);
    header->mark = 0;
    unlink(header);
    std::free(header);
}
