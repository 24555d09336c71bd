// SPDX-License-Identifier: GPL-2.0-only
#include <thread>

#include "tests/host/fake_module.h"

namespace {

class locks : public host_test {};
class locks_death : public host_death_test {};

int guarded;

TEST_F(locks, the_spinlock_excludes_other_threads)
{
    guarded = 0;
    spin_lock_init(&gpon_hash_lock);
    const auto count = [] {
        for (int i = 0; i < 1000; ++i) {
            spin_lock_bh(&gpon_hash_lock);
            ++guarded;
            spin_unlock_bh(&gpon_hash_lock);
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(guarded, 2000);
}

TEST_F(locks, the_control_mutex_excludes_other_threads)
{
    guarded = 0;
    const auto count = [] {
        for (int i = 0; i < 1000; ++i) {
            mutex_lock(&gpon_flow_control_mutex);
            ++guarded;
            mutex_unlock(&gpon_flow_control_mutex);
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(guarded, 2000);
}

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wthread-safety-analysis"
#endif

TEST_F(locks_death, taking_a_lock_twice_is_fatal)
{
    EXPECT_DEATH(
        {
            spin_lock_bh(&gpon_hash_lock);
            spin_lock_bh(&gpon_hash_lock);
        },
        "holds a spinlock already");
    EXPECT_DEATH(
        {
            mutex_lock(&gpon_flow_control_mutex);
            mutex_lock(&gpon_flow_control_mutex);
        },
        "holds a mutex already");
}

TEST_F(locks_death, releasing_a_lock_that_is_not_held_is_fatal)
{
    EXPECT_DEATH(spin_unlock_bh(&gpon_hash_lock), "does not hold");
    EXPECT_DEATH(mutex_unlock(&gpon_flow_control_mutex), "does not hold");
}

TEST_F(locks_death, initialising_a_held_lock_is_fatal)
{
    EXPECT_DEATH(
        {
            spin_lock_bh(&gpon_hash_lock);
            spin_lock_init(&gpon_hash_lock);
        },
        "spin_lock_init of a lock that is held");
}

TEST_F(locks_death, sleeping_under_the_spinlock_is_fatal)
{
    EXPECT_DEATH(
        {
            spin_lock_bh(&gpon_hash_lock);
            mutex_lock(&gpon_flow_control_mutex);
        },
        "mutex_lock called under a spinlock");
    EXPECT_DEATH(
        {
            char to[1];
            spin_lock_bh(&gpon_hash_lock);
            static_cast<void>(copy_from_user(to, to, 0));
        },
        "copy_from_user called under a spinlock");
}

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

} // namespace
