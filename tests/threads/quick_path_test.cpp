// SPDX-License-Identifier: GPL-2.0-only
// Frames of few flows, so that most of them find a rule, beside flushes, commands that move the
// path of the flows, and the same flows on another thread. The steps of a rule and the reply to a
// frame must be those of one of the two paths.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "platform/host/host.h"
#include "tests/support/invariants.h"
#include "tests/threads/commands.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "pkt/rule.h"

namespace {

constexpr int MOVES = 300;
constexpr uint16_t BRIDGE = 1, PORT = 0x1001;
constexpr uint16_t TP[] = {0x11, 0x12};
constexpr uint16_t CTP[] = {1, 2};
constexpr uint16_t GEM_PORT[] = {1025, 1026};

gpon_raw_mbpcd bridge_port(uint16_t tp)
{
    return {.instID = PORT, .bridgeID = BRIDGE, .tpType = 5, .tpPointer = tp};
}

void provision()
{
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp,
         gpon_raw_mbsp{
             .instID = BRIDGE, .uniBridgingEnable = 0, .helloTime = 0, .dynFilterAgingTime = 0});
    for (int path = 0; path < 2; ++path) {
        gpon_raw_gemctp ctp = {};
        ctp.instID = CTP[path];
        ctp.portID = GEM_PORT[path];
        ctp.direction = 3;
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, ctp);
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw,
             gpon_raw_gemiw{.instID = TP[path], .gemCTPInstID = CTP[path]});
    }
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, bridge_port(TP[0]));
}

// A frame of one of few stations.
struct frame {
    std::array<uint8_t, 64> bytes = {};
    sk_buff packet;

    explicit frame(uint8_t station)
    {
        bytes[11] = station;
        packet.data = bytes.data();
        packet.bytes = sizeof(bytes);
    }
};

// The steps of a path, all of them or none: a mixture belongs to no path.
bool is_a_path(const gpon_rule_trace& trace)
{
    for (int path = 0; path < 2; ++path) {
        const gpon_trace_step steps[] = {{me_class::mbsp, BRIDGE},
                                         {me_class::mbpcd, PORT},
                                         {me_class::gemiw, TP[path]},
                                         {me_class::gemctp, CTP[path]},
                                         {}};
        bool same = true;
        for (size_t i = 0; i < std::size(steps); ++i)
            same = same && trace.step[i].classId == steps[i].classId &&
                   trace.step[i].instId == steps[i].instId;
        if (same)
            return true;
    }
    return false;
}

struct tally {
    std::atomic<uint64_t> replies = 0, hits = 0;
};

void send_and_look_up(const std::atomic<bool>& done, tally& seen)
{
    for (int round = 0; !done && !testing::Test::HasFailure(); ++round) {
        frame sent(static_cast<uint8_t>(round % 3));
        const auto returned = gpon::host::hook(GPON_API_UP_ANI, 0, &sent.packet);
        ASSERT_TRUE(returned);
        if (returned->api_result == 0) {
            ASSERT_TRUE(sent.packet.gemport_id == GEM_PORT[0] ||
                        sent.packet.gemport_id == GEM_PORT[1])
                << sent.packet.gemport_id;
            ++seen.replies;
        } else {
            ASSERT_EQ(returned->api_result, 1);
        }
        gpon_rule_trace trace = {};
        if (gpon_rule_lookup_trace(&sent.packet, UP_ANI, &trace) == 0) {
            ASSERT_TRUE(is_a_path(trace))
                << gpon::class_number(trace.step[2].classId) << " " << trace.step[2].instId;
            ++seen.hits;
        }
    }
}

void flush_with_pauses(const std::atomic<bool>& done)
{
    while (!done) {
        EXPECT_EQ(gpon::host::proc_write("clean flow_rule 0 0"), 19);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
}

void move_the_path()
{
    for (int round = 1; round <= MOVES; ++round) {
        send(ZR_OMCI_MSG_TYPE_SET, me_class::mbpcd, bridge_port(TP[round % 2]));
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

class quick_path : public testing::TestWithParam<bool> {
protected:
    void SetUp() override
    {
        gpon::host::reset();
        gpon::host::set_remembered_outcomes(GetParam());
        ASSERT_EQ(gpon::host::load(), 0);
        ASSERT_TRUE(gpon::host::hook(GPON_API_SWITCH, 1, nullptr));
        provision();
    }

    void TearDown() override
    {
        EXPECT_EQ(gpon::test::broken_invariant(), "");
        gpon::host::unload();
        gpon::host::rcu_settle();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
        gpon::host::set_remembered_outcomes(true);
        gpon::host::reset();
    }
};

TEST_P(quick_path, finds_whole_rules_beside_flushes_and_commands)
{
    tally seen;
    std::atomic<bool> done = false;
    std::thread flushes(flush_with_pauses, std::cref(done));
    std::vector<std::thread> frames;
    for (int i = 0; i < 3; ++i)
        frames.emplace_back(send_and_look_up, std::cref(done), std::ref(seen));
    move_the_path();
    done = true;
    for (std::thread& each : frames)
        each.join();
    flushes.join();
    RecordProperty("hits", std::to_string(seen.hits));
    EXPECT_GT(seen.replies, uint64_t{MOVES});
    EXPECT_GT(seen.hits, uint64_t{MOVES});
}

INSTANTIATE_TEST_SUITE_P(outcomes, quick_path, testing::Bool(),
                         [](const auto& on) { return on.param ? "remembered" : "not_remembered"; });

} // namespace
