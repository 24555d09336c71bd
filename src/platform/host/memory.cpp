// SPDX-License-Identifier: GPL-2.0-only
/*
 * Every block has a header in front of it. reset() frees the blocks that a dropped module left:
 * live blocks are linked, except small ones in builds without a sanitizer, which are kept by size
 * (kept_blocks.h) and recognized by their mark. Under the address sanitizer the second half of the
 * header is poisoned, to detect a write in front of a block.
 */
#include <array>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "platform/host/context.h"
#include "platform/host/faults.h"
#include "platform/host/kept_blocks.h"
#include "platform/host/spin.h"
#include "platform/host/state.h"
#include "platform/host/tsan.h"

#include "platform/api/kernel_api.h"

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

#if defined(GPON_HOST_ASAN) || defined(GPON_HOST_TSAN)
#define GPON_HOST_KEEPS_BLOCKS 0
#else
#define GPON_HOST_KEEPS_BLOCKS 1
#endif

namespace gpon::host {
namespace {

static_assert(sizeof(block) % alignof(std::max_align_t) == 0);

constinit spin list_lock;
constinit block live = {&live, &live, 0, 0};

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

// Whether a block of that size is kept when it is freed.
constexpr bool is_kept(size_t bytes)
{
    return GPON_HOST_KEEPS_BLOCKS && bytes <= kept_largest;
}

// Not calloc, which bypasses the C library's cache of free blocks.
block* make_linked(size_t bytes)
{
    auto* made = static_cast<block*>(std::malloc(sizeof(block) + bytes));
    if (!made)
        return nullptr;
    const tsan::hidden bookkeeping;
    const std::lock_guard held(list_lock);
    made->next = &live;
    made->previous = live.previous;
    made->previous->next = made;
    live.previous = made;
    return made;
}

void drop_linked(block* header)
{
    {
        const tsan::hidden bookkeeping;
        const std::lock_guard held(list_lock);
        header->next->previous = header->previous;
        header->previous->next = header->next;
    }
    std::free(header);
}

magazine& counts()
{
    const tsan::hidden bookkeeping;
    return this_magazine();
}

} // namespace

memory_use memory()
{
    const tsan::hidden bookkeeping;
    return sum_of_magazines();
}

void reset_memory()
{
    for (block *next, *left = live.next; left != &live; left = next) {
        next = left->next;
        kfree(left + 1);
    }
    free_live_kept();
    clear_counts();
}

} // namespace gpon::host

using namespace gpon::host;

namespace {

void* no_memory()
{
    count_many(GPON_COUNT_allocation_failures, 1);
    return nullptr;
}

void* allocate(size_t bytes)
{
    magazine& own = counts();
    own.allocations.add(1);
    if (take_fault(fault::alloc) || bytes > SIZE_MAX - sizeof(block))
        return no_memory();
    block* header = is_kept(bytes) ? take_kept(own, bytes) : make_linked(bytes);
    if (!header)
        return no_memory();
    header->bytes = bytes;
    header->mark = live_mark;
    own.live_blocks.add(1);
    own.live_bytes.add(bytes);
    own.allocated_bytes.add(bytes);
    set_guarded(header, true);
    return header + 1;
}

// The buffers of this thread's packet, the last one on top: another platform keeps all of them in
// one block and relies on their order.
struct buffer_stack {
    std::array<void*, 8> buffers;
    size_t count;

    void push(void* buffer)
    {
        if (count == buffers.size())
            fatal("a packet has more than %zu buffers", buffers.size());
        else
            buffers[count++] = buffer;
    }

    void pop(void* buffer)
    {
        if (count == 0 || buffers[count - 1] != buffer)
            fatal("a packet buffer is freed before a later one: %p", buffer);
        --count;
    }
};

constinit thread_local buffer_stack open_buffers = {};

// The header of a live block is poisoned, so only this function may read it.
__attribute__((no_sanitize("address"))) bool has_other_size(const void* buffer, size_t bytes)
{
    const block* header = static_cast<const block*>(buffer) - 1;
    return header->mark == live_mark && header->bytes != bytes;
}

} // namespace

void* kzalloc(size_t bytes, gfp_t)
{
    void* memory = allocate(bytes);
    if (memory)
        std::memset(memory, 0, bytes);
    return memory;
}

// Every buffer is a block of its own: each allocation can fail, and a sanitizer finds an access
// beyond its end.
void packet_memory_begin(packet_memory* memory)
{
    *memory = {};
    open_buffers.count = 0;
}

void packet_memory_end(packet_memory*)
{
    if (open_buffers.count != 0)
        fatal("%zu packet buffers are left", open_buffers.count);
}

void* packet_buffer_alloc(packet_memory* memory, size_t bytes)
{
    void* buffer = allocate(bytes);
    if (buffer && memory)
        open_buffers.push(buffer);
    return buffer;
}

void packet_buffer_free(packet_memory* memory, void* buffer, size_t bytes)
{
    if (has_other_size(buffer, bytes))
        fatal("a packet buffer of %zu bytes is freed with another size: %p", bytes, buffer);
    if (memory)
        open_buffers.pop(buffer);
    kfree(buffer);
}

void kfree(const void* memory)
{
    if (!memory)
        return;
    block* header = static_cast<block*>(const_cast<void*>(memory)) - 1;
#ifdef GPON_HOST_ASAN
    // Read before the poison is removed, so that the sanitizer detects a block that is freed twice.
    if (!header->next)
        fatal("kfree of a block that is not allocated: %p", memory);
#endif
    set_guarded(header, false);
    if (header->mark != live_mark)
        fatal("kfree of a block that is not allocated: %p", memory);
    header->mark = 0;
    magazine& own = counts();
    own.live_blocks.add(uint64_t(-1));
    own.live_bytes.add(-header->bytes);
    if (is_kept(header->bytes))
        give_kept(own, header);
    else
        drop_linked(header);
}
