// SPDX-License-Identifier: GPL-2.0-only
// Packets on several threads; control records, debug commands and time on one thread each, while
// grace periods end at random times. ThreadSanitizer checks the order of accesses, the address
// sanitizer use after free. Without them the test checks results, invariants and the allocation
// balance.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "platform/host/host.h"
#include "tests/support/invariants.h"
#include "tests/threads/commands.h"

namespace {

constexpr int ROUNDS = 1000;
constexpr unsigned PACKET_THREADS = 3;

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
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp,
         gpon_raw_mbsp{
             .instID = 1, .uniBridgingEnable = 0, .helloTime = 0, .dynFilterAgingTime = 0});
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, port(0x101, 1, 0x101));
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, ctp(1025));
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw,
         gpon_raw_gemiw{.instID = 0x11, .gemCTPInstID = 1});
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, port(0x1001, 5, 0x11));
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
            const auto returned = gpon::host::hook(kind, 0, &packet);
            ASSERT_TRUE(returned);
            ASSERT_EQ(returned->ret, 2);
            ASSERT_TRUE(returned->api_result == 0 || returned->api_result == 1);
            ASSERT_EQ(packet.flag_word & 0x100000, 0u);
            passed.fetch_add(returned->api_result == 0, std::memory_order_relaxed);
        }
    }
}

// Every command replaces a node or takes one off a list that packets are walking.
void change_configuration(const std::atomic<bool>& done)
{
    gpon_raw_vtfd filter = {};
    filter.instID = 0x1001;
    gpon_flow_cfg_data cfg = {};
    gpon_flow_cmd load = {};
    load.cmd = GPON_FLOW_CMD_CFG_DATA;
    load.cfg_data = reinterpret_cast<uintptr_t>(&cfg);
    for (int round = 0; !done.load(std::memory_order_relaxed); ++round) {
        send(ZR_OMCI_MSG_TYPE_SET, me_class::gemctp, ctp(static_cast<uint16_t>(1025 + round % 2)));
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::vtfd, filter);
        send(ZR_OMCI_MSG_TYPE_DELETE, me_class::mbpcd, port(0x1001, 5, 0x11));
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, port(0x1001, 5, 0x11));
        send(ZR_OMCI_MSG_TYPE_DELETE, me_class::vtfd, filter);
        if (round % 16 == 0) {
            EXPECT_EQ(gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uintptr_t>(&load)),
                      0);
        }
    }
}

void use_debug_entry_points(const std::atomic<bool>& done)
{
    while (!done.load(std::memory_order_relaxed))
        for (const char* line : {"show raw_data", "show flow_rule", "set debug_level 7",
                                 "set trace src_mac 0:0:0:0:7:1", "set trace outer_vlan 5",
                                 "set debug_level 0", "set trace disable", "clean flow_rule 0 0",
                                 "show raw_data 47 1001", "set enable 0", "set enable 1", "help"}) {
            EXPECT_EQ(gpon::host::proc_write(line), static_cast<long>(std::strlen(line)));
            EXPECT_EQ(gpon::host::proc_read(), 0);
        }
}

void let_time_pass(const std::atomic<bool>& done)
{
    while (!done.load(std::memory_order_relaxed))
        gpon::host::advance(30000);
}

class concurrency : public testing::TestWithParam<gpon::host::grace> {
protected:
    void SetUp() override
    {
        gpon::host::reset();
        gpon::host::set_grace(GetParam(), 2000);
        ASSERT_EQ(gpon::host::load(), 0);
        ASSERT_TRUE(gpon::host::hook(4, 1, nullptr));
        provision();
    }

    void TearDown() override
    {
        if (gpon::host::is_loaded()) {
            EXPECT_EQ(gpon::test::broken_invariant(), "");
            gpon::host::unload();
        }
        gpon::host::rcu_settle();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
        gpon::host::set_grace(gpon::host::grace::prompt);
        gpon::host::reset();
    }

    // Runs the others for as long as packets come.
    static void run_beside_packets(std::vector<std::function<void()>> others,
                                   std::atomic<bool>& done, std::atomic<uint64_t>& passed)
    {
        std::vector<std::thread> packets;
        for (unsigned seed = 0; seed < PACKET_THREADS; ++seed)
            packets.emplace_back(send_packets, seed, std::ref(passed));
        std::vector<std::thread> beside(others.begin(), others.end());
        for (std::thread& each : packets)
            each.join();
        done = true;
        for (std::thread& each : beside)
            each.join();
    }
};

TEST_P(concurrency, packets_commands_debug_lines_and_the_aging_timer_run_side_by_side)
{
    std::atomic<uint64_t> passed = 0;
    std::atomic<bool> done = false;
    run_beside_packets({[&] { change_configuration(done); }, [&] { use_debug_entry_points(done); },
                        [&] { let_time_pass(done); }},
                       done, passed);
    EXPECT_GT(passed, 0u);
}

TEST_P(concurrency, two_writers_of_commands_take_turns)
{
    std::atomic<uint64_t> passed = 0;
    std::atomic<bool> done = false;
    run_beside_packets({[&] { change_configuration(done); }, [&] { change_configuration(done); }},
                       done, passed);
    EXPECT_GT(passed, 0u);
}

INSTANTIATE_TEST_SUITE_P(grace_periods, concurrency,
                         testing::Values(gpon::host::grace::prompt, gpon::host::grace::delayed),
                         [](const auto& mode) {
                             return mode.param == gpon::host::grace::prompt ? "end_at_once"
                                                                            : "end_at_random";
                         });

} // namespace
