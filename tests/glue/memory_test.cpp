// SPDX-License-Identifier: GPL-2.0-only
// The kernel glue's allocations and the memory of a packet's buffers (src/platform/linux/memory.c).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "kernel/stub.h"

extern "C" {
struct packet_memory {
    void* block;
    size_t left;
};
void gpon_os_packet_memory_begin(packet_memory* memory);
void gpon_os_packet_memory_end(packet_memory* memory);
void* gpon_os_packet_buffer_alloc(packet_memory* memory, size_t bytes);
void gpon_os_packet_buffer_free(packet_memory* memory, void* buffer, size_t bytes);
void* gpon_os_kzalloc(size_t bytes, unsigned flags);
void gpon_os_kfree(const void* memory);
void gpon_os_count_many(int counter, unsigned long amount);
}

namespace {

constexpr unsigned ATOMIC = 0x20;

struct fake_kernel {
    std::map<const void*, size_t> live;
    bool has_memory = true;
    unsigned long counted_failures = 0;
};

fake_kernel kernel;

void* allocated(size_t bytes, unsigned flags, unsigned char contents)
{
    EXPECT_EQ(flags, ATOMIC) << "a packet cannot sleep";
    if (!kernel.has_memory)
        return nullptr;
    void* block = std::malloc(bytes);
    std::memset(block, contents, bytes);
    kernel.live[block] = bytes;
    return block;
}

} // namespace

void* kmalloc(size_t bytes, unsigned flags)
{
    return allocated(bytes, flags, 0xdd);
}

void* kzalloc(size_t bytes, unsigned flags)
{
    return allocated(bytes, flags, 0);
}

void kfree(const void* block)
{
    if (!block)
        return;
    EXPECT_EQ(kernel.live.erase(block), 1u) << "freed twice, or not a block";
    std::free(const_cast<void*>(block));
}

void gpon_os_count_many(int, unsigned long amount)
{
    kernel.counted_failures += amount;
}

namespace {

class glue_memory : public testing::Test {
protected:
    void SetUp() override { kernel = {}; }

    void TearDown() override
    {
        EXPECT_TRUE(kernel.live.empty()) << kernel.live.size() << " blocks leak";
        for (const auto& [block, bytes] : kernel.live)
            std::free(const_cast<void*>(block));
    }
};

TEST_F(glue_memory, a_block_is_zero)
{
    for (const size_t size : {1u, 8u, 152u, 65536u}) {
        auto* const bytes = static_cast<unsigned char*>(gpon_os_kzalloc(size, 0));
        EXPECT_TRUE(std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; }))
            << size;
        gpon_os_kfree(bytes);
    }
    gpon_os_kfree(nullptr);
}

TEST_F(glue_memory, each_failure_is_counted_once)
{
    kernel.has_memory = false;
    EXPECT_EQ(gpon_os_kzalloc(100, 0), nullptr);
    EXPECT_EQ(kernel.counted_failures, 1u);
    packet_memory packet;
    gpon_os_packet_memory_begin(&packet);
    EXPECT_EQ(kernel.counted_failures, 2u);
    EXPECT_EQ(gpon_os_packet_buffer_alloc(&packet, 8), nullptr);
    EXPECT_EQ(kernel.counted_failures, 3u);
    gpon_os_packet_memory_end(&packet);
}

// Buffers as the steps of a packet take them, freed in reverse order.
class open_buffers {
public:
    explicit open_buffers(packet_memory* memory) : memory_(memory) {}

    unsigned char* take(size_t bytes)
    {
        auto* at = static_cast<unsigned char*>(gpon_os_packet_buffer_alloc(memory_, bytes));
        if (!at)
            return nullptr;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(at) % alignof(void*), 0u);
        for (const auto& [other, size] : taken_)
            EXPECT_TRUE(at + bytes <= other || other + size <= at) << "two buffers overlap";
        std::memset(at, 0xa5, bytes);
        taken_.emplace_back(at, bytes);
        return at;
    }

    void give_back()
    {
        const auto [at, bytes] = taken_.back();
        taken_.pop_back();
        gpon_os_packet_buffer_free(memory_, at, bytes);
    }

    [[nodiscard]] bool empty() const { return taken_.empty(); }

private:
    packet_memory* memory_;
    std::vector<std::pair<unsigned char*, size_t>> taken_;
};

TEST_F(glue_memory, all_buffers_of_a_packet_are_in_one_block)
{
    packet_memory packet;
    gpon_os_packet_memory_begin(&packet);
    const auto* const block = static_cast<const unsigned char*>(packet.block);
    const size_t room = packet.left;
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(kernel.live.at(block), room);
    open_buffers buffers(&packet);
    for (const size_t bytes : {8u, 20u, 28u, 48u, 1u}) {
        const unsigned char* at = buffers.take(bytes);
        EXPECT_TRUE(block <= at && at + bytes <= block + room) << bytes;
    }
    EXPECT_EQ(kernel.live.size(), 1u);
    while (!buffers.empty())
        buffers.give_back();
    EXPECT_EQ(packet.left, room) << "every byte is free again";
    gpon_os_packet_memory_end(&packet);
}

TEST_F(glue_memory, a_buffer_without_room_is_a_block_of_its_own)
{
    packet_memory packet;
    gpon_os_packet_memory_begin(&packet);
    open_buffers buffers(&packet);
    for (size_t taken = 0; taken <= packet.left; taken += 48)
        buffers.take(48);
    ASSERT_EQ(kernel.live.size(), 1u);
    for (const size_t bytes : {packet.left + 1, size_t{1000}})
        buffers.take(bytes);
    EXPECT_EQ(kernel.live.size(), 3u);
    while (!buffers.empty())
        buffers.give_back();
    EXPECT_EQ(kernel.live.size(), 1u);
    gpon_os_packet_memory_end(&packet);
}

TEST_F(glue_memory, a_caller_without_a_packet_has_blocks_of_its_own)
{
    packet_memory none = {nullptr, 0};
    packet_memory* const nowhere = nullptr;
    for (packet_memory* const memory : {&none, nowhere}) {
        open_buffers own(memory);
        own.take(8);
        own.take(48);
        EXPECT_EQ(kernel.live.size(), 2u);
        own.give_back();
        own.give_back();
    }
}

TEST_F(glue_memory, a_packet_without_a_block_has_buffers)
{
    kernel.has_memory = false;
    packet_memory packet;
    gpon_os_packet_memory_begin(&packet);
    EXPECT_EQ(packet.block, nullptr);
    EXPECT_EQ(packet.left, 0u);
    kernel.has_memory = true;
    open_buffers buffers(&packet);
    buffers.take(8);
    EXPECT_EQ(kernel.live.size(), 1u);
    buffers.give_back();
    gpon_os_packet_memory_end(&packet);
}

} // namespace
