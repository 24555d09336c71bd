// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <cstring>
#include <thread>

#include "tests/host/fake_module.h"

namespace {

using gpon::host::arm_fault;
using gpon::host::fault;

class memory : public host_test {};
class memory_death : public host_death_test {};

TEST_F(memory, blocks_are_zero_filled_and_aligned)
{
    for (const size_t bytes : {size_t{1}, size_t{40}, size_t{4096}}) {
        auto* block = static_cast<unsigned char*>(kzalloc(bytes, GFP_ATOMIC));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t), 0u);
        EXPECT_TRUE(std::all_of(block, block + bytes, [](unsigned char c) { return c == 0; }));
        std::memset(block, 0xff, bytes);
        kfree(block);
    }
}

TEST_F(memory, the_balance_counts_blocks_and_bytes)
{
    void* first = kzalloc(10, GFP_ATOMIC);
    void* second = kzalloc(20, GFP_ATOMIC);
    kfree(first);
    const auto use = gpon::host::memory();
    EXPECT_EQ(use.live_blocks, 1u);
    EXPECT_EQ(use.live_bytes, 20u);
    EXPECT_EQ(use.allocations, 2u);
    EXPECT_EQ(use.allocated_bytes, 30u);
    kfree(second);
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
    EXPECT_EQ(gpon::host::memory().live_bytes, 0u);
}

TEST_F(memory, freeing_null_does_nothing)
{
    kfree(nullptr);
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
}

TEST_F(memory, the_nth_allocation_fails_once)
{
    arm_fault(fault::alloc, 2);
    void* first = kzalloc(8, GFP_ATOMIC);
    EXPECT_NE(first, nullptr);
    EXPECT_FALSE(gpon::host::fault_fired(fault::alloc));
    EXPECT_EQ(kzalloc(8, GFP_ATOMIC), nullptr);
    EXPECT_TRUE(gpon::host::fault_fired(fault::alloc));
    void* third = kzalloc(8, GFP_ATOMIC);
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(gpon::host::memory().allocations, 3u);
    EXPECT_EQ(gpon::host::memory().live_blocks, 2u);
    kfree(first);
    kfree(third);
}

TEST_F(memory, arming_again_resets_a_fired_fault)
{
    arm_fault(fault::alloc);
    EXPECT_EQ(kzalloc(8, GFP_ATOMIC), nullptr);
    arm_fault(fault::alloc);
    EXPECT_FALSE(gpon::host::fault_fired(fault::alloc));
    gpon::host::disarm_faults();
    void* block = kzalloc(8, GFP_ATOMIC);
    EXPECT_NE(block, nullptr);
    kfree(block);
}

TEST_F(memory, a_size_that_overflows_is_refused)
{
    EXPECT_EQ(kzalloc(SIZE_MAX, GFP_ATOMIC), nullptr);
    EXPECT_EQ(kzalloc(SIZE_MAX - 16, GFP_ATOMIC), nullptr);
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
}

TEST_F(memory, reset_frees_the_remaining_blocks)
{
    for (int i = 0; i < 3; ++i)
        ASSERT_NE(kzalloc(100, GFP_ATOMIC), nullptr);
    gpon::host::reset();
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
    EXPECT_EQ(gpon::host::memory().allocations, 0u);
}

TEST_F(memory, threads_allocate_at_the_same_time)
{
    constexpr int rounds = 1000;
    const auto churn = [] {
        for (int i = 0; i < rounds; ++i) {
            void* kept = kzalloc(16, GFP_ATOMIC);
            kfree(kzalloc(32, GFP_ATOMIC));
            kfree(kept);
        }
    };
    std::thread other(churn);
    churn();
    other.join();
    EXPECT_EQ(gpon::host::memory().allocations, 4u * rounds);
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
}

TEST_F(memory, packet_buffers_are_counted_and_fail_like_other_blocks)
{
    packet_memory packet;
    packet_memory_begin(&packet);
    void* first = packet_buffer_alloc(&packet, 8);
    arm_fault(fault::alloc);
    EXPECT_EQ(packet_buffer_alloc(&packet, 20), nullptr);
    void* second = packet_buffer_alloc(&packet, 28);
    EXPECT_EQ(gpon::host::memory().allocations, 3u);
    EXPECT_EQ(gpon::host::memory().live_bytes, 36u);
    packet_buffer_free(&packet, second, 28);
    packet_buffer_free(&packet, first, 8);
    packet_memory_end(&packet);
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
}

TEST_F(memory_death, a_packet_buffer_that_is_freed_before_a_later_one_is_fatal)
{
    packet_memory packet;
    packet_memory_begin(&packet);
    void* const first = packet_buffer_alloc(&packet, 8);
    void* const second = packet_buffer_alloc(&packet, 8);
    EXPECT_DEATH(packet_buffer_free(&packet, first, 8), "freed before a later one");
    EXPECT_DEATH(packet_buffer_free(&packet, second, 9), "freed with another size");
    EXPECT_DEATH(packet_memory_end(&packet), "2 packet buffers are left");
    packet_buffer_free(&packet, second, 8);
    packet_buffer_free(&packet, first, 8);
}

TEST_F(memory_death, freeing_foreign_memory_is_fatal)
{
    const std::vector<unsigned long> foreign(8, 1);
    EXPECT_DEATH(kfree(foreign.data() + 4), "kfree of a block that is not allocated");
}

} // namespace
