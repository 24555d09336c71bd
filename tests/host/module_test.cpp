// SPDX-License-Identifier: GPL-2.0-only
#include <thread>

#include "tests/host/fake_module.h"

namespace {

using gpon::host::is_loaded;
using gpon::host::load;
using gpon::host::unload;
using testing::ElementsAre;

class module_loading : public host_test {};
class module_loading_death : public host_death_test {};

const gpon_file_operations operations = {
    [](file*) { return 0; }, [](file*, unsigned int, unsigned long) { return 1L; }, nullptr};
vorn_hook_ops ops = {{}, "some_hook", 1, [](api_data*) { return 0; }, 59, 1};

int register_interfaces()
{
    EXPECT_EQ(__register_chrdev(184, 0, 256, "gpon_flow", &operations), 0);
    EXPECT_TRUE(create_proc_entry("debug", 0, proc_mkdir("gpon_flow", nullptr)));
    EXPECT_EQ(vorn_register_hook(&ops), 0);
    timer_setup(
        &gpon_hash_timer, [](timer_list*) { printk("timer"); }, 0);
    mod_timer(&gpon_hash_timer, get_jiffies_64() + 5);
    return 0;
}

void expect_interfaces(bool open)
{
    EXPECT_EQ(gpon::host::ioctl(0, 0).has_value(), open);
    EXPECT_EQ(gpon::host::proc_read().has_value(), open);
    EXPECT_EQ(gpon::host::proc_write("").has_value(), open);
    EXPECT_EQ(gpon::host::hook(0, 0, nullptr).has_value(), open);
}

TEST_F(module_loading, load_returns_the_status_of_the_module)
{
    EXPECT_FALSE(is_loaded());
    EXPECT_EQ(load(), 0);
    EXPECT_TRUE(is_loaded());
    EXPECT_EQ(load(), -17);
    unload();
    EXPECT_FALSE(is_loaded());
}

TEST_F(module_loading, a_module_that_failed_to_load_stays_until_it_is_unloaded)
{
    int unloads = 0;
    module_under_test = {[] { return register_interfaces() - 12; }, [&] { ++unloads; }};
    EXPECT_EQ(load(), -12);
    EXPECT_TRUE(is_loaded());
    expect_interfaces(true);
    unload();
    EXPECT_EQ(unloads, 1);
    unload();
    EXPECT_EQ(unloads, 1);
}

TEST_F(module_loading, every_load_starts_with_fresh_data)
{
    EXPECT_EQ(module_word, 41);
    module_under_test.load = [] { return ++module_word; };
    EXPECT_EQ(load(), 42);
    unload();
    module_word = 7;
    EXPECT_EQ(load(), 42);
    gpon::host::reset();
    EXPECT_EQ(module_word, 41);
}

TEST_F(module_loading, reset_drops_a_module_with_its_interfaces_timers_and_memory)
{
    module_under_test.load = [] {
        static_cast<void>(kzalloc(10, GFP_ATOMIC));
        return register_interfaces();
    };
    EXPECT_EQ(load(), 0);
    expect_interfaces(true);
    gpon::host::reset();
    EXPECT_FALSE(is_loaded());
    expect_interfaces(false);
    events.clear();
    gpon::host::advance(10);
    EXPECT_THAT(events, testing::IsEmpty());
    EXPECT_EQ(gpon::host::memory().live_blocks, 0u);
}

TEST_F(module_loading, reset_disarms_faults)
{
    gpon::host::arm_fault(gpon::host::fault::chrdev);
    gpon::host::reset();
    register_interfaces();
    expect_interfaces(true);
}

TEST_F(module_loading, a_panic_ends_loading_and_unregisters_everything)
{
    module_under_test = {[] {
                             register_interfaces();
                             panic("Register hook function failed! %s:%d", "somebody", 360);
                             printk("not reached");
                             return 0;
                         },
                         [] { printk("not reached"); }};
    events.clear();
    EXPECT_EQ(load(), std::nullopt);
    EXPECT_EQ(events.back(), "@ panic Register hook function failed! somebody:360");
    EXPECT_TRUE(is_loaded());
    expect_interfaces(false);
    const size_t so_far = events.size();
    gpon::host::advance(10);
    unload();
    EXPECT_EQ(events.size(), so_far);
    EXPECT_TRUE(is_loaded());
    EXPECT_EQ(load(), -17);
    gpon::host::reset();
    module_under_test = {};
    EXPECT_EQ(load(), 0);
}

TEST_F(module_loading, hooks_and_the_timer_run_at_the_same_time)
{
    module_under_test.load = [] {
        register_interfaces();
        timer_setup(
            &gpon_hash_timer,
            [](timer_list* self) {
                spin_lock_bh(&gpon_hash_lock);
                ++module_word;
                spin_unlock_bh(&gpon_hash_lock);
                mod_timer(self, get_jiffies_64() + 1);
            },
            0);
        ops.hook = [](api_data*) {
            spin_lock_bh(&gpon_hash_lock);
            ++module_word;
            spin_unlock_bh(&gpon_hash_lock);
            return static_cast<int>(get_jiffies_64() > 500);
        };
        return 0;
    };
    module_under_test.unload = [] { del_timer_sync(&gpon_hash_timer); };
    gpon::host::set_sink(nullptr);
    EXPECT_EQ(load(), 0);
    std::thread ticking([] {
        for (int i = 0; i < 100; ++i)
            gpon::host::advance(5);
    });
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(gpon::host::hook(0, 0, nullptr)->ret, 0);
    ticking.join();
    EXPECT_EQ(module_word, 41 + 500 + 496); // first at 5, then every jiffy up to 500
    unload();
}

TEST_F(module_loading_death, a_panic_of_a_loaded_module_ends_the_process)
{
    EXPECT_DEATH(panic("no way %d", 3), "panic outside of module loading: no way 3");
}

TEST_F(module_loading_death, a_panic_with_a_lock_held_is_fatal)
{
    EXPECT_DEATH(
        {
            module_under_test.load = [] {
                mutex_lock(&gpon_flow_control_mutex);
                panic("stop");
                mutex_unlock(&gpon_flow_control_mutex);
                return 0;
            };
            static_cast<void>(load());
        },
        "panic with a lock held");
}

TEST_F(module_loading_death, unloading_with_deferred_frees_outstanding_is_fatal)
{
    EXPECT_DEATH(
        {
            static rcu_head head;
            module_under_test.unload = [] {
                rcu_read_lock(); // holds the grace period up
                call_rcu(&head, [](rcu_head*) {});
            };
            static_cast<void>(load());
            unload();
        },
        "deferred frees are outstanding");
}

} // namespace
