// SPDX-License-Identifier: GPL-2.0-only
// Counters that one thread reads while others send frames that pass and frames that fail, with a
// remembered outcome, by a replay and by a walk.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "platform/host/host.h"
#include "tests/threads/commands.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "platform/api/kernel_api.h"

namespace {

constexpr int SENDERS = 2;
constexpr uint32_t FRAMES = 20000;
constexpr uint32_t FRAMES_OF_A_FLUSH = 64;

std::atomic<uint64_t> passing, failing;

// Every third frame finds no queue.
int choose_queue_of_most(sk_buff* skb)
{
    const bool fails = skb->data[20] % 3 == 0;
    ++(fails ? failing : passing);
    return fails ? -1 : 0;
}

// Frames of kind 1 leave by a GEM port.
void build_upstream_path()
{
    gpon_raw_gemctp ctp = {};
    ctp.instID = 1;
    ctp.portID = 1025;
    ctp.direction = 3;
    gpon_raw_mbsp bridge = {};
    bridge.instID = 1;
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, bridge);
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, ctp);
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw,
         gpon_raw_gemiw{.instID = 0x11, .gemCTPInstID = 1});
    send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd,
         gpon_raw_mbpcd{.instID = 0x1001, .bridgeID = 1, .tpType = 5, .tpPointer = 0x11});
}

void send_frames(uint8_t station)
{
    for (uint32_t i = 0; i < FRAMES; ++i) {
        std::array<uint8_t, 64> bytes = {};
        bytes[11] = station;
        bytes[20] = static_cast<uint8_t>(i);
        sk_buff packet;
        packet.data = bytes.data();
        packet.bytes = sizeof(bytes);
        ASSERT_TRUE(gpon::host::hook(GPON_API_UP_ANI, 0, &packet));
        if (i % FRAMES_OF_A_FLUSH == 0)
            gpon::host::proc_write("clean flow_rule 0 0");
    }
}

std::map<std::string, uint64_t> read_counters()
{
    std::map<std::string, uint64_t> read;
    for (const gpon::host::counter& one : gpon::host::counters())
        read[std::string(one.name)] = one.value;
    return read;
}

// Reads until the end, and once more.
void check_while_frames_come(const std::atomic<bool>& done)
{
    std::map<std::string, uint64_t> last = read_counters();
    for (bool ends = false; !ends && !testing::Test::HasFailure();) {
        ends = done;
        const auto now = read_counters();
        for (const auto& [name, value] : now)
            ASSERT_GE(value, last[name]) << name << " decreased";
        ASSERT_LE(now.at("frames_passed"), passing.load()) << "counted before it passed";
        ASSERT_LE(now.at("frames_failed"), failing.load());
        last = now;
    }
}

TEST(counters_in_parallel, never_decrease_and_count_a_frame_when_it_ends)
{
    gpon::host::reset();
    passing = failing = 0;
    ASSERT_EQ(gpon::host::load(), 0);
    ASSERT_TRUE(gpon::host::hook(GPON_API_SWITCH, 1, nullptr));
    build_upstream_path();
    gpon_queue_mapping_hook = choose_queue_of_most;
    std::atomic<bool> done = false;
    std::thread reader(check_while_frames_come, std::cref(done));
    std::vector<std::thread> senders;
    for (uint8_t i = 0; i < SENDERS; ++i)
        senders.emplace_back(send_frames, i);
    for (std::thread& each : senders)
        each.join();
    done = true;
    reader.join();
    const auto last = read_counters();
    EXPECT_EQ(last.at("calls_up_ani"), uint64_t{SENDERS} * FRAMES);
    EXPECT_EQ(last.at("frames_passed"), passing.load());
    EXPECT_EQ(last.at("frames_failed"), failing.load());
    EXPECT_EQ(last.at("remembered_up_ani") + last.at("replays") + last.at("walks"),
              uint64_t{SENDERS} * FRAMES);
    EXPECT_GT(last.at("remembered_up_ani"), 0u);
    EXPECT_GT(last.at("queue_failures"), 0u);
    gpon::host::unload();
    gpon::host::rcu_settle();
    gpon::host::reset();
}

} // namespace
