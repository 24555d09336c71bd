// SPDX-License-Identifier: GPL-2.0-only
// The blocks that the kernel glue keeps for the next packet (src/platform/linux/memory.c).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <set>
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
void gpon_glue_drop_memory(void);
void gpon_os_count_many(int counter, unsigned long amount);
extern unsigned char kept_of_cpu[];
extern const size_t kept_bytes;
}

namespace {

constexpr size_t LARGEST_KEPT = 512;
constexpr size_t SLOTS = 2;

struct fake_kernel {
    std::map<const void*, size_t> live;
    bool has_memory = true;
    unsigned long counted_failures = 0;
    std::function<void()> interrupt; // runs before the operation that is the nth from now
    int operations_until_interrupt = 0;
};

fake_kernel kernel;

size_t bucket_of(size_t bytes)
{
    size_t bucket = stub_smallest_block;
    while (bucket < bytes)
        bucket *= 2;
    return bucket;
}

} // namespace

int stub_cpu;
size_t stub_smallest_block = 8;

void* kzalloc(size_t bytes, unsigned)
{
    if (!kernel.has_memory)
        return nullptr;
    void* block = std::calloc(1, bucket_of(bytes));
    kernel.live[block] = bucket_of(bytes);
    return block;
}

void kfree(const void* block)
{
    if (!block)
        return;
    EXPECT_EQ(kernel.live.erase(block), 1u) << "freed twice, or not a block";
    std::free(const_cast<void*>(block));
}

size_t ksize(const void* block)
{
    return kernel.live.at(block);
}

void gpon_os_count_many(int, unsigned long amount)
{
    kernel.counted_failures += amount;
}

void stub_before_operation()
{
    if (kernel.operations_until_interrupt == 0 || --kernel.operations_until_interrupt != 0)
        return;
    kernel.interrupt();
}

namespace {

class kept_blocks : public testing::TestWithParam<size_t> {
protected:
    void SetUp() override
    {
        kernel = {};
        stub_cpu = 0;
        stub_smallest_block = GetParam();
        load();
    }

    // Slots as a load finds them. What is read beyond them is no address.
    static void load()
    {
        constexpr size_t ELEMENTS = 2 * size_t{STUB_CPUS};
        for (size_t i = 0; i < ELEMENTS; ++i)
            std::memset(kept_of_cpu + i * (kept_bytes / ELEMENTS), i % 2 ? 0xdd : 0,
                        kept_bytes / ELEMENTS);
    }

    void TearDown() override
    {
        gpon_glue_drop_memory();
        EXPECT_TRUE(kernel.live.empty()) << kernel.live.size() << " blocks leak";
        for (const auto& [block, bytes] : kernel.live)
            std::free(const_cast<void*>(block));
    }
};

struct block {
    unsigned char* bytes;
    size_t size;

    explicit block(size_t wanted)
        : bytes(static_cast<unsigned char*>(gpon_os_kzalloc(wanted, 0))), size(wanted)
    {
    }

    [[nodiscard]] bool is_zero() const
    {
        return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
    }

    void fill(unsigned char with) const { std::memset(bytes, with, size); }
};

TEST_P(kept_blocks, of_every_size_are_zero_when_they_are_reused)
{
    for (size_t size = 1; size <= 2 * LARGEST_KEPT; ++size) {
        const block first(size);
        ASSERT_TRUE(first.is_zero()) << size;
        first.fill(0xff);
        gpon_os_kfree(first.bytes);
        const block second(size);
        ASSERT_TRUE(second.is_zero()) << size;
        EXPECT_EQ(second.bytes == first.bytes || size > LARGEST_KEPT, true) << size;
        gpon_os_kfree(second.bytes);
    }
}

TEST_P(kept_blocks, have_room_for_the_largest_size_of_their_class)
{
    for (size_t largest = 8; largest <= LARGEST_KEPT; largest *= 2) {
        const block small(largest / 2 + 1);
        small.fill(0xff);
        gpon_os_kfree(small.bytes);
        const block large(largest);
        EXPECT_TRUE(large.is_zero()) << largest;
        large.fill(0xff);
        gpon_os_kfree(large.bytes);
    }
}

TEST_P(kept_blocks, are_at_most_two_of_each_class_and_cpu)
{
    for (stub_cpu = 0; stub_cpu < STUB_CPUS; ++stub_cpu)
        for (size_t size = GetParam(); size <= LARGEST_KEPT; size *= 2) {
            const size_t before = kernel.live.size();
            std::set<void*> blocks;
            for (int i = 0; i < 5; ++i)
                EXPECT_TRUE(blocks.insert(gpon_os_kzalloc(size, 0)).second);
            for (void* each : blocks)
                gpon_os_kfree(each);
            EXPECT_EQ(kernel.live.size() - before, SLOTS) << size;
        }
    stub_cpu = 0;
}

TEST_P(kept_blocks, of_another_cpu_are_not_used)
{
    void* const mine = gpon_os_kzalloc(64, 0);
    gpon_os_kfree(mine);
    stub_cpu = 1;
    void* const other = gpon_os_kzalloc(64, 0);
    EXPECT_NE(other, mine);
    gpon_os_kfree(other);
}

TEST_P(kept_blocks, are_none_beyond_the_largest_size)
{
    for (const size_t size :
         {LARGEST_KEPT + 1, 2 * LARGEST_KEPT, 2 * LARGEST_KEPT + 1, size_t{65536}}) {
        gpon_os_kfree(gpon_os_kzalloc(size, 0));
        EXPECT_EQ(kernel.live.size(), 0u) << size;
    }
}

TEST_P(kept_blocks, serve_where_the_kernel_has_no_memory)
{
    void* const kept = gpon_os_kzalloc(100, 0);
    gpon_os_kfree(kept);
    kernel.has_memory = false;
    EXPECT_EQ(gpon_os_kzalloc(100, 0), kept);
    EXPECT_EQ(gpon_os_kzalloc(100, 0), nullptr);
    EXPECT_EQ(gpon_os_kzalloc(1000, 0), nullptr);
    EXPECT_EQ(kernel.counted_failures, 2u);
    gpon_os_kfree(nullptr);
    gpon_os_kfree(kept);
}

// An owner per block. A block that is given out twice has two owners.
class owners {
public:
    void take()
    {
        void* const block = gpon_os_kzalloc(64, 0);
        EXPECT_TRUE(held_.insert(block).second) << "a block has two owners";
    }

    void give_back()
    {
        if (held_.empty())
            return;
        void* const block = *held_.begin();
        held_.erase(held_.begin());
        gpon_os_kfree(block);
    }

    void give_back_all()
    {
        while (!held_.empty())
            give_back();
    }

private:
    std::set<void*> held_;
};

using step = void (owners::*)();

// Keeps as many blocks as asked, then runs one step with another at the nth per-CPU operation of
// it. Returns false if the step has fewer operations.
bool interrupt_at(int operation, size_t kept, step interrupted, const std::vector<step>& by,
                  int continue_on)
{
    owners all;
    for (size_t i = 0; i < kept + 2; ++i)
        all.take();
    for (size_t i = 0; i < kept; ++i)
        all.give_back();
    kernel.interrupt = [&] {
        for (const step each : by)
            (all.*each)();
        stub_cpu = continue_on;
    };
    kernel.operations_until_interrupt = operation;
    (all.*interrupted)();
    const bool came = kernel.operations_until_interrupt == 0;
    kernel.operations_until_interrupt = 0;
    all.give_back_all();
    stub_cpu = 0;
    return came;
}

TEST_P(kept_blocks, have_one_owner_wherever_another_context_interrupts)
{
    const step take = &owners::take;
    const step give_back = &owners::give_back;
    int interrupts = 0;
    for (const step interrupted : {take, give_back})
        for (const std::vector<step>& by : {std::vector<step>{take},
                                            {give_back},
                                            {give_back, give_back},
                                            {take, take},
                                            {take, give_back}})
            for (const int cpu : {0, 1})
                for (size_t kept = 0; kept <= SLOTS; ++kept)
                    for (int operation = 1; interrupt_at(operation, kept, interrupted, by, cpu);
                         ++operation)
                        ++interrupts;
    EXPECT_GT(interrupts, 100);
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

TEST_P(kept_blocks, hold_all_buffers_of_a_packet)
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

    gpon_os_packet_memory_begin(&packet);
    EXPECT_EQ(packet.block, block) << "the next packet has the same block";
    gpon_os_packet_memory_end(&packet);
}

TEST_P(kept_blocks, are_not_needed_for_the_buffers_of_a_packet)
{
    packet_memory packet;
    gpon_os_packet_memory_begin(&packet);
    open_buffers buffers(&packet);
    for (size_t taken = 0; taken <= packet.left; taken += 48)
        buffers.take(48);
    ASSERT_EQ(kernel.live.size(), 1u);
    for (const size_t bytes : {packet.left + 1, size_t{1000}})
        buffers.take(bytes);
    EXPECT_EQ(kernel.live.size(), 3u) << "without room a buffer is a block of its own";
    while (!buffers.empty())
        buffers.give_back();
    EXPECT_EQ(kernel.live.size(), 1u);
    gpon_os_packet_memory_end(&packet);

    packet_memory none = {nullptr, 0};
    packet_memory* const nowhere = nullptr;
    for (packet_memory* const memory : {&none, nowhere}) {
        open_buffers own(memory);
        own.take(8);
        own.take(48);
        EXPECT_EQ(kernel.live.size(), 3u);
        own.give_back();
        own.give_back();
        EXPECT_EQ(kernel.live.size(), 1u);
    }
}

TEST_P(kept_blocks, of_packets_are_not_there_without_memory)
{
    kernel.has_memory = false;
    packet_memory packet;
    gpon_os_packet_memory_begin(&packet);
    EXPECT_EQ(packet.block, nullptr);
    EXPECT_EQ(gpon_os_packet_buffer_alloc(&packet, 8), nullptr);
    kernel.has_memory = true;
    open_buffers buffers(&packet);
    buffers.take(8);
    EXPECT_EQ(kernel.live.size(), 1u);
    buffers.give_back();
    gpon_os_packet_memory_end(&packet);
    EXPECT_EQ(kernel.live.size(), 0u);
}

TEST_P(kept_blocks, serve_packets_that_interrupt_each_other)
{
    std::set<void*> blocks;
    std::vector<packet_memory> packets(4);
    for (packet_memory& packet : packets) {
        gpon_os_packet_memory_begin(&packet);
        EXPECT_TRUE(blocks.insert(packet.block).second) << "two packets have one block";
    }
    for (packet_memory& packet : packets)
        gpon_os_packet_memory_end(&packet);
    EXPECT_EQ(kernel.live.size(), SLOTS);
}

INSTANTIATE_TEST_SUITE_P(smallest_blocks, kept_blocks, testing::Values(8, 128),
                         testing::PrintToStringParamName());

} // namespace
