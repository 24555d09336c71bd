// SPDX-License-Identifier: GPL-2.0-only
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/host/fake_module.h"

namespace {

class rcu : public host_test {};
class rcu_death : public host_death_test {};

struct node {
    rcu_head rcu;
    int value;
};

std::atomic<int> freed;

void free_node(rcu_head* head)
{
    ++freed;
    kfree(reinterpret_cast<node*>(head));
}

node* new_node(int value)
{
    auto* fresh = static_cast<node*>(kzalloc(sizeof(node), GFP_ATOMIC));
    fresh->value = value;
    return fresh;
}

TEST_F(rcu, settling_waits_for_every_deferred_free)
{
    freed = 0;
    for (int i = 0; i < 100; ++i)
        call_rcu(&new_node(i)->rcu, free_node);
    gpon::host::rcu_settle();
    EXPECT_EQ(freed, 100);
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
}

TEST_F(rcu, a_deferred_free_waits_for_a_reader)
{
    freed = 0;
    std::atomic<bool> reading = false;
    std::atomic<bool> may_leave = false;
    node* shared = new_node(7);
    std::thread reader([&] {
        rcu_read_lock();
        reading = true;
        while (!may_leave)
            std::this_thread::yield();
        EXPECT_EQ(freed, 0);
        EXPECT_EQ(shared->value, 7);
        rcu_read_unlock();
    });
    while (!reading)
        std::this_thread::yield();
    call_rcu(&shared->rcu, free_node);
    // Enough time for a grace period without readers.
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(freed, 0);
    may_leave = true;
    gpon::host::rcu_settle();
    EXPECT_EQ(freed, 1);
    reader.join();
}

TEST_F(rcu, read_sections_nest)
{
    freed = 0;
    rcu_read_lock();
    rcu_read_lock();
    rcu_read_unlock();
    check_list_access();
    call_rcu(&new_node(1)->rcu, free_node);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(freed, 0);
    rcu_read_unlock();
    gpon::host::rcu_settle();
    EXPECT_EQ(freed, 1);
}

TEST_F(rcu, readers_follow_a_pointer_while_it_is_replaced)
{
    freed = 0;
    constexpr int replacements = 300;
    std::atomic<node*> current = new_node(0);
    std::atomic<bool> stop = false;
    const auto read = [&] {
        int last = 0;
        while (!stop) {
            rcu_read_lock();
            const int value = current.load(std::memory_order_acquire)->value;
            rcu_read_unlock();
            EXPECT_GE(value, last);
            last = value;
        }
    };
    std::thread one(read);
    std::thread two(read);
    for (int i = 1; i <= replacements; ++i)
        call_rcu(&current.exchange(new_node(i))->rcu, free_node);
    stop = true;
    one.join();
    two.join();
    gpon::host::rcu_settle();
    EXPECT_EQ(freed, replacements);
    EXPECT_EQ(gpon::host::memory().live_blocks, 1u);
}

TEST_F(rcu, many_short_lived_threads_may_read)
{
    for (int i = 0; i < 20; ++i)
        std::thread([] {
            rcu_read_lock();
            rcu_read_unlock();
        }).join();
    gpon::host::rcu_settle();
}

TEST_F(rcu, reset_runs_deferred_frees)
{
    freed = 0;
    call_rcu(&new_node(1)->rcu, free_node);
    gpon::host::reset();
    EXPECT_EQ(freed, 1);
}

TEST_F(rcu, lists_may_be_read_by_readers_and_the_holder_of_the_control_mutex)
{
    rcu_read_lock();
    check_list_access();
    rcu_read_unlock();
    mutex_lock(&gpon_flow_control_mutex);
    check_list_access();
    mutex_unlock(&gpon_flow_control_mutex);
}

TEST_F(rcu_death, list_access_outside_of_a_read_section_is_fatal)
{
    EXPECT_DEATH(check_list_access(), "list access outside of a read section");
    EXPECT_DEATH(
        {
            rcu_read_lock();
            rcu_read_unlock();
            check_list_access();
        },
        "list access outside of a read section");
}

TEST_F(rcu_death, waiting_inside_a_read_section_is_fatal)
{
    EXPECT_DEATH(
        {
            rcu_read_lock();
            rcu_barrier();
        },
        "rcu_barrier called in an RCU read section");
}

} // namespace
