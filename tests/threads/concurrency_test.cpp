// SPDX-License-Identifier: GPL-2.0-only
// Packets on two threads, the command path and the debug doors on a third, time on a fourth.
// ThreadSanitizer judges; without it, the answers and the allocation balance still must hold.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "platform/host/host.h"

namespace {

constexpr int ROUNDS = 1000;

template <typename Raw> void send(uint8_t msg_type, uint16_t class_id, const Raw& raw)
{
    gpon_flow_cmd record = {};
    record.me.msg_type = msg_type;
    record.me.class_id = class_id;
    record.me.inst_id = raw.instID;
    record.me.attr_mask = 0xffff;
    record.me.attr_data = reinterpret_cast<uintptr_t>(&raw);
    EXPECT_EQ(gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uintptr_t>(&record)), 0);
}

gpon_raw_mbpcd port(uint16_t id, uint8_t tp_type, uint16_t pointer)
{
    return {.instID = id, .bridgeID = 1, .tpType = tp_type, .tpPointer = pointer};
}

gpon_raw_gemctp ctp(uint16_t gem_port)
{
    gpon_raw_gemctp raw = {};
    raw.instID = 1;
    raw.portID = gem_port;
    raw.direction = 3;
    return raw;
}

void provision()
{
    send(ZR_OMCI_MSG_TYPE_CREAT, 45,
         gpon_raw_mbsp{
             .instID = 1, .uniBridgingEnable = 0, .helloTime = 0, .dynFilterAgingTime = 0});
    send(ZR_OMCI_MSG_TYPE_CREAT, 47, port(0x101, 1, 0x101));
    send(ZR_OMCI_MSG_TYPE_CREAT, 268, ctp(1025));
    send(ZR_OMCI_MSG_TYPE_CREAT, 266, gpon_raw_gemiw{.instID = 0x11, .gemCTPInstID = 1});
    send(ZR_OMCI_MSG_TYPE_CREAT, 47, port(0x1001, 5, 0x11));
}

// One packet of each direction; sources come from a pool that overfills the table's buckets.
void send_packets(unsigned seed, std::atomic<uint64_t>& passed)
{
    std::array<uint8_t, 64> frame = {};
    for (int round = 0; round < ROUNDS; ++round) {
        frame[10] = static_cast<uint8_t>(round * 7 + static_cast<int>(seed));
        frame[11] = static_cast<uint8_t>(round);
        for (uint32_t kind = 0; kind < 4; ++kind) {
            sk_buff packet;
            packet.data = frame.data();
            packet.bytes = frame.size();
            packet.port_word = 1 << 4;
            packet.gemport_id = 1025;
            const auto answer = gpon::host::hook(kind, 0, &packet);
            ASSERT_TRUE(answer);
            ASSERT_EQ(answer->ret, 2);
            ASSERT_TRUE(answer->api_result == 0 || answer->api_result == 1);
            ASSERT_EQ(packet.flag_word & 0x100000, 0u);
            passed += answer->api_result == 0;
        }
    }
}

void change_configuration()
{
    gpon_raw_vtfd filter = {};
    filter.instID = 0x1001;
    for (int round = 0; round < ROUNDS / 4; ++round) {
        send(ZR_OMCI_MSG_TYPE_SET, 268, ctp(static_cast<uint16_t>(1025 + round % 2)));
        send(ZR_OMCI_MSG_TYPE_CREAT, 84, filter);
        send(ZR_OMCI_MSG_TYPE_DELETE, 47, port(0x1001, 5, 0x11));
        send(ZR_OMCI_MSG_TYPE_CREAT, 47, port(0x1001, 5, 0x11));
        send(ZR_OMCI_MSG_TYPE_DELETE, 84, filter);
        for (const char* line : {"show raw_data", "show flow_rule", "set debug_level 7",
                                 "set trace src_mac 0:0:0:0:7:1", "set debug_level 0",
                                 "set trace disable", "clean flow_rule 0 0", "set enable 1"})
            EXPECT_EQ(gpon::host::proc_write(line), static_cast<long>(std::strlen(line)));
    }
}

class Concurrency : public testing::Test {
protected:
    void SetUp() override
    {
        gpon::host::reset();
        ASSERT_EQ(gpon::host::load(), 0);
        ASSERT_TRUE(gpon::host::hook(4, 1, nullptr));
        provision();
    }

    void TearDown() override
    {
        if (gpon::host::is_loaded())
            gpon::host::unload();
        gpon::host::rcu_settle();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
        gpon::host::reset();
    }
};

TEST_F(Concurrency, PacketsCommandsAndTheAgingTimerDoNotDisturbEachOther)
{
    std::atomic<uint64_t> passed = 0;
    std::atomic<bool> done = false;
    std::thread first(send_packets, 1, std::ref(passed));
    std::thread second(send_packets, 2, std::ref(passed));
    std::thread commands(change_configuration);
    std::thread time([&] {
        while (!done)
            gpon::host::advance(30000);
    });
    first.join();
    second.join();
    commands.join();
    done = true;
    time.join();
    EXPECT_GT(passed, 0u);
}

} // namespace
