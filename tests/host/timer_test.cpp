// SPDX-License-Identifier: GPL-2.0-only
#include <atomic>
#include <thread>

#include "tests/host/fake_module.h"

namespace {

using gpon::host::advance;
using gpon::host::jiffies;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<uint64_t> fired_at;
unsigned long period = 0; // of the callback that arms itself again

void note_time(timer_list*)
{
    fired_at.push_back(jiffies());
}

void note_time_and_rearm(timer_list* timer)
{
    note_time(timer);
    mod_timer(timer, get_jiffies_64() + period);
}

class timer : public host_test {
protected:
    timer() { fired_at.clear(); }
};
class timer_death : public host_death_test {};

TEST_F(timer, jiffies_start_at_zero_and_pass_only_in_advance)
{
    EXPECT_EQ(jiffies(), 0u);
    advance(5);
    advance(0);
    EXPECT_EQ(jiffies(), 5u);
    EXPECT_EQ(get_jiffies_64(), 5u);
}

TEST_F(timer, fires_once_at_its_own_time)
{
    timer_setup(&gpon_hash_timer, note_time, 0);
    EXPECT_EQ(mod_timer(&gpon_hash_timer, 10), 0);
    advance(9);
    EXPECT_THAT(fired_at, IsEmpty());
    advance(100);
    EXPECT_THAT(fired_at, ElementsAre(10u));
    EXPECT_EQ(jiffies(), 109u);
    EXPECT_THAT(events, ElementsAre("@ mod_timer +10"));
}

TEST_F(timer, fires_again_when_its_callback_arms_it_again)
{
    period = 30000;
    timer_setup(&gpon_hash_timer, note_time_and_rearm, 0);
    mod_timer(&gpon_hash_timer, period);
    advance(95000);
    EXPECT_THAT(fired_at, ElementsAre(30000u, 60000u, 90000u));
    EXPECT_THAT(events, ElementsAre("@ mod_timer +30000", "@ mod_timer +30000",
                                    "@ mod_timer +30000", "@ mod_timer +30000"));
}

TEST_F(timer, arming_a_pending_timer_moves_it)
{
    timer_setup(&gpon_hash_timer, note_time, 0);
    mod_timer(&gpon_hash_timer, 10);
    EXPECT_EQ(mod_timer(&gpon_hash_timer, 20), 1);
    advance(30);
    EXPECT_THAT(fired_at, ElementsAre(20u));
}

TEST_F(timer, a_time_in_the_past_fires_at_the_next_tick)
{
    timer_setup(&gpon_hash_timer, note_time, 0);
    advance(50);
    mod_timer(&gpon_hash_timer, 50);
    advance(0);
    EXPECT_THAT(fired_at, IsEmpty());
    advance(1);
    mod_timer(&gpon_hash_timer, 7);
    advance(1);
    EXPECT_THAT(fired_at, ElementsAre(51u, 52u));
}

TEST_F(timer, a_callback_that_arms_itself_for_now_does_not_stop_time)
{
    period = 0;
    timer_setup(&gpon_hash_timer, note_time_and_rearm, 0);
    mod_timer(&gpon_hash_timer, 2);
    advance(4);
    EXPECT_THAT(fired_at, ElementsAre(2u, 3u, 4u));
}

TEST_F(timer, a_deleted_timer_does_not_fire)
{
    timer_setup(&gpon_hash_timer, note_time, 0);
    mod_timer(&gpon_hash_timer, 10);
    EXPECT_EQ(del_timer_sync(&gpon_hash_timer), 1);
    EXPECT_EQ(del_timer_sync(&gpon_hash_timer), 0);
    advance(20);
    EXPECT_THAT(fired_at, IsEmpty());
    EXPECT_THAT(events, ElementsAre("@ mod_timer +10", "@ del_timer", "@ del_timer"));
}

TEST_F(timer, reset_restarts_time_without_timers)
{
    timer_setup(&gpon_hash_timer, note_time, 0);
    mod_timer(&gpon_hash_timer, 10);
    advance(5);
    gpon::host::reset();
    EXPECT_EQ(jiffies(), 0u);
    advance(20);
    EXPECT_THAT(fired_at, IsEmpty());
}

std::atomic<bool> in_callback;
std::atomic<bool> may_return;
int written_by_callback;

TEST_F(timer, deleting_waits_for_a_callback_on_another_thread)
{
    in_callback = may_return = false;
    written_by_callback = 0;
    timer_setup(
        &gpon_hash_timer,
        [](timer_list* self) {
            in_callback = true;
            while (!may_return)
                std::this_thread::yield();
            mod_timer(self, get_jiffies_64() + 1);
            written_by_callback = 1; // not atomic: the deletion has to order it
        },
        0);
    mod_timer(&gpon_hash_timer, 1);
    std::thread ticking([] { advance(1); });
    while (!in_callback)
        std::this_thread::yield();
    std::thread releasing([] { may_return = true; });
    EXPECT_EQ(del_timer_sync(&gpon_hash_timer), 1); // the callback had armed it again
    EXPECT_EQ(written_by_callback, 1);
    ticking.join();
    releasing.join();
    in_callback = false;
    advance(10);
    EXPECT_FALSE(in_callback);
}

TEST_F(timer_death, deleting_a_timer_in_its_own_callback_is_fatal)
{
    EXPECT_DEATH(
        {
            timer_setup(
                &gpon_hash_timer, [](timer_list* self) { del_timer_sync(self); }, 0);
            mod_timer(&gpon_hash_timer, 1);
            advance(1);
        },
        "waits for itself");
}

} // namespace
