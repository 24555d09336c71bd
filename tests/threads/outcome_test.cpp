// SPDX-License-Identifier: GPL-2.0-only
// Frames during changes of the store. Each result must be that of the store at some moment while
// its frame was in progress. GPON_CHANGES in the environment sets the number of changes.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "platform/host/host.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "hash/rule_table.h"
#include "me/command.h"
#include "me/registry.h"
#include "tests/threads/commands.h"

namespace {

constexpr uint16_t CTP = 1, OTHER_CTP = 2;
constexpr uint16_t TP = 0x11, OTHER_TP = 0x12;
constexpr uint16_t PORT = 0x1001;

// How often a test changes the store. "./run test-stale-rules" asks for more than fit into every
// run.
uint64_t changes(uint64_t otherwise)
{
    const char* asked = std::getenv("GPON_CHANGES");
    return asked ? std::strtoull(asked, nullptr, 10) : otherwise;
}

gpon_raw_gemctp ctp(uint16_t id, uint16_t gem_port)
{
    gpon_raw_gemctp raw = {};
    raw.instID = id;
    raw.portID = gem_port;
    raw.direction = 3;
    return raw;
}

gpon_raw_mbpcd bridge_port(uint16_t tp)
{
    return {.instID = PORT, .bridgeID = 1, .tpType = 5, .tpPointer = tp};
}

struct sent_frame {
    int api_result;
    uint16_t gem_port;
};

sent_frame send_frame(uint8_t station)
{
    std::array<uint8_t, 64> bytes = {};
    bytes[11] = station;
    sk_buff packet;
    packet.data = bytes.data();
    packet.bytes = bytes.size();
    const auto returned = gpon::host::hook(GPON_API_UP_ANI, 0, &packet);
    return {returned ? returned->api_result : -1, packet.gemport_id};
}

class outcome_threads : public testing::Test {
protected:
    void SetUp() override
    {
        gpon::host::reset();
        ASSERT_EQ(gpon::host::load(), 0);
        gpon::host::hook(GPON_API_SWITCH, 1, nullptr);
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp,
             gpon_raw_mbsp{
                 .instID = 1, .uniBridgingEnable = 0, .helloTime = 0, .dynFilterAgingTime = 0});
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, ctp(CTP, 1));
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, ctp(OTHER_CTP, 2));
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw,
             gpon_raw_gemiw{.instID = TP, .gemCTPInstID = CTP});
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw,
             gpon_raw_gemiw{.instID = OTHER_TP, .gemCTPInstID = OTHER_CTP});
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, bridge_port(TP));
    }

    void TearDown() override
    {
        gpon::host::set_copy_delay(0);
        gpon::host::unload();
        gpon::host::rcu_settle();
        EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
        gpon::host::reset();
    }
};

/* The store goes through numbered states. A change to a state begins and ends at known moments. */
struct progress {
    std::atomic<uint64_t> begun = 0, ended = 0;
};

/* State n: the CTP carries port 1000 + n, or, when n is a multiple of 8, is not there. */
uint16_t port_in_state(uint64_t state)
{
    return state % 8 == 0 ? uint16_t{0} : static_cast<uint16_t>(1000 + state % 60000);
}

// By hand and without the flush that a command begins with: the rules stay, and are replayed.
void enter_state(uint64_t state)
{
    if (state % 8 == 0) {
        EXPECT_EQ(gpon::host::proc_write("clean raw_data 268 1"), 20);
        return;
    }
    const gpon_raw_gemctp raw = ctp(CTP, port_in_state(state));
    gpon_flow_cmd record = record_of(ZR_OMCI_MSG_TYPE_SET, me_class::gemctp, raw);
    EXPECT_EQ(gpon_flow_me_general_set(gpon_flow_me_get_by_classid(me_class::gemctp), &record.me),
              0);
}

/* How frames were classified since an earlier moment; no frame is in progress at either one. */
class classified {
public:
    uint64_t remembered() const { return since("remembered_up_ani", remembered_); }
    uint64_t replayed() const { return since("replays", replayed_); }
    uint64_t outcomes() const { return since("outcomes_remembered", outcomes_); }

private:
    static uint64_t since(const char* name, uint64_t before)
    {
        return gpon::host::counter_value(name) - before;
    }

    uint64_t remembered_ = since("remembered_up_ani", 0);
    uint64_t replayed_ = since("replays", 0);
    uint64_t outcomes_ = since("outcomes_remembered", 0);
};

// Sends frames and looks for a state between the last that had ended before a frame and the last
// that had begun behind it, no earlier than what the frame before has shown.
void judge_frames(const progress& store, const std::atomic<bool>& done, uint8_t station,
                  std::atomic<uint64_t>& judged)
{
    uint64_t seen = 0;
    while (!done.load(std::memory_order_relaxed) && !testing::Test::HasFailure()) {
        const uint64_t first = std::max(seen, store.ended.load());
        const sent_frame frame = send_frame(station);
        const uint64_t last = store.begun.load();
        uint64_t state = first;
        while (state <= last && port_in_state(state) != frame.gem_port)
            ++state;
        ASSERT_LE(state, last) << "GEM port " << frame.gem_port << " behind state " << first;
        ASSERT_EQ(frame.api_result, 0);
        seen = state;
        judged.fetch_add(1, std::memory_order_relaxed);
    }
}

TEST_F(outcome_threads, each_result_is_one_of_the_store_during_the_call)
{
    progress store;
    std::atomic<bool> done = false;
    std::atomic<uint64_t> judged = 0;
    store.begun = 1;
    enter_state(1);
    store.ended = 1;
    // A rule each, which no change of the CTP touches.
    for (const uint8_t station : {uint8_t{1}, uint8_t{2}})
        EXPECT_EQ(send_frame(station).gem_port, port_in_state(1));
    const classified counted;
    std::vector<std::thread> frames;
    for (const uint8_t station : {uint8_t{1}, uint8_t{2}})
        frames.emplace_back(judge_frames, std::cref(store), std::cref(done), station,
                            std::ref(judged));
    const uint64_t all = changes(20000);
    for (uint64_t state = 2; state <= all && !HasFailure(); ++state) {
        store.begun = state;
        enter_state(state);
        store.ended = state;
        // Room for a frame that replays and for one that uses what that one left.
        if (state % 4 == 0)
            for (const uint64_t until = judged + 3; judged < until && !HasFailure();)
                std::this_thread::yield();
    }
    done = true;
    for (std::thread& each : frames)
        each.join();
    RecordProperty("judged", std::to_string(judged));
    RecordProperty("remembered", std::to_string(counted.remembered()));
    RecordProperty("replayed", std::to_string(counted.replayed()));
    RecordProperty("outcomes", std::to_string(counted.outcomes()));
    EXPECT_GT(judged, all / 2);
    // A state in which the store rests is seen by frames that replay, and that use what is left.
    EXPECT_GT(counted.replayed(), all / 20);
    EXPECT_GT(counted.outcomes(), all / 20);
    EXPECT_GT(counted.remembered(), all / 20);
    EXPECT_EQ(counted.remembered() + counted.replayed(), judged) << "no frame walked or failed";
}

void send_until(const std::atomic<bool>& done)
{
    while (!done.load(std::memory_order_relaxed))
        send_frame(1);
}

// The pair of commands that moves the bridge port from one GEM port to the other, beside frames
// that learn. Afterwards the flow must take the new path. Returns how often it does not.
uint64_t stale_rules_of(uint64_t pairs)
{
    std::atomic<bool> done = false;
    std::thread frames(send_until, std::cref(done));
    uint64_t stale = 0;
    for (uint64_t pair = 0; pair < pairs; ++pair) {
        const uint16_t tp = pair % 2 ? TP : OTHER_TP;
        send(ZR_OMCI_MSG_TYPE_DELETE, me_class::mbpcd, bridge_port(tp));
        send(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, bridge_port(tp));
        const uint16_t wanted = pair % 2 ? 1 : 2;
        stale += send_frame(1).gem_port != wanted;
    }
    done = true;
    frames.join();
    return stale;
}

TEST_F(outcome_threads, no_rule_outlives_the_command_that_changed_its_graph)
{
    EXPECT_EQ(stale_rules_of(changes(20000)), 0u);
}

TEST_F(outcome_threads, no_rule_outlives_a_command_that_waits_for_user_memory)
{
    gpon::host::set_copy_delay(1000);
    EXPECT_EQ(stale_rules_of(changes(100)), 0u);
}

} // namespace
