// SPDX-License-Identifier: GPL-2.0-only
#include <thread>

#include "tests/host/fake_module.h"

namespace {

using gpon::host::fault;
using testing::ElementsAre;
using testing::IsEmpty;

api_data last_call;

int note_call(api_data* data)
{
    last_call = *data;
    data->api_result = 1;
    return GPON_HOOK_RETURN;
}

vorn_hook_ops record_of(const char* name, int (*function)(api_data*), int priority)
{
    return {{}, name, 1, function, 59, priority};
}

class hooks : public host_test {
protected:
    vorn_hook_ops ops = record_of("some_hook", note_call, 1);
};
class hooks_death : public host_death_test {};

TEST_F(hooks, without_a_module_no_call_is_possible)
{
    EXPECT_EQ(gpon::host::hook(0, 0, nullptr), std::nullopt);
}

TEST_F(hooks, a_registered_hook_gets_the_call_and_its_result_is_returned)
{
    EXPECT_EQ(vorn_unregister_hook(&gpon_flow_mapping_hook_ops), 0);
    EXPECT_EQ(vorn_register_hook(&ops), 0);
    sk_buff packet;
    const auto returned = gpon::host::hook(3, 7, &packet);
    ASSERT_TRUE(returned);
    EXPECT_EQ(returned->ret, GPON_HOOK_RETURN);
    EXPECT_EQ(returned->api_result, 1);
    EXPECT_EQ(last_call.api_type, 3u);
    EXPECT_EQ(last_call.api_param, 7u);
    EXPECT_EQ(last_call.skb, &packet);
    EXPECT_EQ(vorn_unregister_hook(&ops), 0);
    EXPECT_EQ(gpon::host::hook(3, 7, &packet), std::nullopt);
    EXPECT_THAT(events, ElementsAre("@ unregister_hook gpon_flow_mapping_hook_ops",
                                    "@ register_hook some_hook enable=1 id=59 priority=1 = 0",
                                    "@ unregister_hook some_hook"));
}

TEST_F(hooks, a_disabled_record_is_not_called)
{
    ops.enable = 0;
    EXPECT_EQ(vorn_register_hook(&ops), 0);
    EXPECT_EQ(gpon::host::hook(0, 0, nullptr), std::nullopt);
    EXPECT_THAT(events, ElementsAre("@ register_hook some_hook enable=0 id=59 priority=1 = 0"));
}

TEST_F(hooks, a_failed_registration_leaves_no_hook)
{
    gpon::host::arm_fault(fault::hook);
    EXPECT_EQ(vorn_register_hook(&ops), -1);
    EXPECT_EQ(gpon::host::hook(0, 0, nullptr), std::nullopt);
    EXPECT_EQ(vorn_unregister_hook(&ops), -1);
    EXPECT_THAT(events, ElementsAre("@ register_hook some_hook enable=1 id=59 priority=1 = -1",
                                    "@ unregister_hook some_hook"));
}

TEST_F(hooks, a_record_is_registered_once)
{
    EXPECT_EQ(vorn_register_hook(&ops), 0);
    EXPECT_EQ(vorn_register_hook(&ops), -1);
    EXPECT_EQ(vorn_unregister_hook(&ops), 0);
    EXPECT_EQ(vorn_unregister_hook(&ops), -1);
}

TEST_F(hooks, records_are_called_in_order_of_priority)
{
    vorn_hook_ops late = record_of(
        "late", [](api_data*) { return printk("late"); }, 9);
    vorn_hook_ops early = record_of(
        "early", [](api_data*) { return printk("early"); }, -9);
    EXPECT_EQ(vorn_register_hook(&late), 0);
    EXPECT_EQ(vorn_register_hook(&early), 0);
    events.clear();
    gpon::host::hook(0, 0, nullptr);
    EXPECT_THAT(events, ElementsAre("| early", "| late"));
}

TEST_F(hooks, the_platforms_own_hook_maps_packets_until_it_is_taken_out)
{
    EXPECT_EQ(vorn_register_hook(&ops), 0);
    events.clear();
    sk_buff packet;
    gpon::host::set_mapping(-1);
    gpon::host::hook(GPON_API_UP_ANI, 0, &packet);
    EXPECT_EQ(last_call.api_result, 1);
    gpon::host::set_mapping(0);
    gpon::host::hook(GPON_API_UP_ANI, 0, &packet);
    EXPECT_EQ(last_call.api_result, 0);
    EXPECT_THAT(events, ElementsAre("@ gpon_mapping_hook = -1", "@ gpon_mapping_hook = 0"));

    vorn_unregister_hook(&gpon_flow_mapping_hook_ops);
    events.clear();
    gpon::host::hook(GPON_API_UP_ANI, 0, &packet);
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(hooks, the_mapping_functions_return_the_value_set)
{
    sk_buff packet;
    packet.gemport_id = 1025;
    EXPECT_EQ(gpon_mapping_hook(&packet), 0);
    EXPECT_EQ(gpon_queue_mapping_hook(&packet), 0);
    gpon::host::set_mapping(-1);
    gpon::host::set_queue_mapping(5);
    EXPECT_EQ(gpon_mapping_hook(&packet), -1);
    EXPECT_EQ(gpon_queue_mapping_hook(&packet), 5);
    EXPECT_THAT(events,
                ElementsAre("@ gpon_mapping_hook = 0", "@ gpon_queue_mapping_hook gem=1025 = 0",
                            "@ gpon_mapping_hook = -1", "@ gpon_queue_mapping_hook gem=1025 = 5"));
    gpon::host::set_mapping({});
    gpon::host::set_queue_mapping({});
    EXPECT_EQ(gpon_mapping_hook, nullptr);
    EXPECT_EQ(gpon_queue_mapping_hook, nullptr);
    gpon::host::reset();
    EXPECT_NE(gpon_mapping_hook, nullptr);
    EXPECT_NE(gpon_queue_mapping_hook, nullptr);
}

TEST_F(hooks, several_threads_call_at_the_same_time)
{
    ops.hook = [](api_data* data) {
        rcu_read_lock();
        data->api_result = skb_gemport_id(data->skb);
        rcu_read_unlock();
        return printk("%d", data->api_result);
    };
    vorn_unregister_hook(&gpon_flow_mapping_hook_ops);
    EXPECT_EQ(vorn_register_hook(&ops), 0);
    events.clear();
    const auto call = [](uint16_t gem) {
        sk_buff packet;
        packet.gemport_id = gem;
        for (int i = 0; i < 500; ++i)
            EXPECT_EQ(gpon::host::hook(0, 0, &packet)->api_result, gem);
    };
    std::thread other(call, uint16_t{1});
    call(2);
    other.join();
    EXPECT_EQ(events.size(), 1000u);
}

TEST_F(hooks_death, sleeping_in_the_packet_path_is_fatal)
{
    EXPECT_DEATH(
        {
            vorn_hook_ops ops = record_of(
                "sleeper",
                [](api_data*) {
                    char byte;
                    return static_cast<int>(copy_from_user(&byte, "x", 1));
                },
                1);
            static_cast<void>(vorn_register_hook(&ops));
            gpon::host::hook(0, 0, nullptr);
        },
        "copy_from_user called in softirq context");
}

} // namespace
