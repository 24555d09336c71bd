// SPDX-License-Identifier: GPL-2.0-only
#include <array>
#include <cstring>

#include "tests/unit/store_access.h"

#include "core/control_record.h"
#include "hash/rule_table.h"
#include "me/default_config.h"
#include "me_class/classes.h"

namespace {

using gpon::test::apply;
using gpon::test::command;
using gpon::test::create_bridge;
using gpon::test::create_port;
using gpon::test::ids_of;
using gpon::test::recorded;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using gpon::test::CREATE;
using gpon::test::DELETE;
using gpon::test::SET;

// ---- a class of the tests, whose handlers record their arguments

struct handler_call {
    int handler;
    u8 msg_type;
    u16 attr_mask;
    const void* raw;
    u32 value;
    friend bool operator==(const handler_call&, const handler_call&) = default;
};
std::vector<handler_call> handler_calls;

struct test_record {
    u16 inst_id;
    u32 value;
};

template <int Number> i32 handler(gpon_me_cmd* cmd)
{
    const auto* raw = static_cast<const test_record*>(gpon::attr_data(cmd));
    handler_calls.push_back({Number, cmd->msg_type, cmd->attr_mask, raw, raw->value});
    return -1; // the result of a handler has no effect
}

const gpon_me_attr_op test_ops[] = {
    {0x8000, handler<1>}, {0x8008, nullptr}, {0x3000, handler<2>}, {0xb000, handler<3>}, {}};
const gpon_me_related_info test_links[] = {{}};
constexpr me_class own_id = gpon::to_me_class(700);

class own_class : public loaded_module {
protected:
    own_class() { handler_calls.clear(); }
    ~own_class() override { gpon_flow_list_delete_inst(&entry, 0, 1); }

    i32 create(u16 id, u32 value, u16 mask)
    {
        const test_record raw = {id, value};
        sent = command(CREATE, own_id, id, &raw, mask);
        return gpon_flow_me_general_create(&entry, &sent);
    }
    std::vector<int> called() const
    {
        std::vector<int> numbers;
        for (const handler_call& call : handler_calls)
            numbers.push_back(call.handler);
        return numbers;
    }

    list_head head = {&head, &head};
    gpon_me_list_info info = {
        nullptr, sizeof(test_record), test_links, sizeof(test_links), nullptr, test_ops, &head};
    gpon_me_entry entry = {own_id, "OWN", 1, &info, nullptr};
    gpon_me_cmd sent = {};
};

TEST_F(own_class, handlers_run_in_row_order_when_a_bit_of_their_mask_is_set)
{
    EXPECT_EQ(create(1, 0, 0xffff), 0);
    EXPECT_THAT(called(), ElementsAre(1, 2, 3));
    handler_calls.clear();
    EXPECT_EQ(create(1, 0, 0x1000), 0);
    EXPECT_THAT(called(), ElementsAre(2, 3));
    handler_calls.clear();
    EXPECT_EQ(create(1, 0, 0x8000), 0);
    EXPECT_THAT(called(), ElementsAre(1, 3));
    handler_calls.clear();
    EXPECT_EQ(create(1, 0, 0x4ff7), 0);
    EXPECT_THAT(called(), IsEmpty());
    EXPECT_EQ(create(1, 0, 0), 0);
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(own_class, handlers_see_a_copy_of_the_attributes)
{
    const test_record raw = {1, 77};
    sent = command(CREATE, own_id, 1, &raw, 0x8000);
    EXPECT_EQ(gpon_flow_me_general_create(&entry, &sent), 0);
    ASSERT_THAT(handler_calls, testing::SizeIs(2));
    EXPECT_EQ(handler_calls[0].value, 77u);
    EXPECT_NE(handler_calls[0].raw, &raw);
    EXPECT_EQ(handler_calls[0].raw, handler_calls[1].raw);
    EXPECT_EQ(handler_calls[0].attr_mask, 0x8000);
    EXPECT_EQ(handler_calls[0].msg_type, CREATE);
}

TEST_F(own_class, the_instance_is_stored_before_the_handlers_run)
{
    static const list_head* seen_head;
    static bool stored;
    seen_head = &head;
    const gpon_me_attr_op looking[] = {{0x8000,
                                        [](gpon_me_cmd* cmd) {
                                            stored = gpon::find_inst(seen_head, cmd->inst_id);
                                            return 0;
                                        }},
                                       {}};
    info.attr_ops = looking;
    EXPECT_EQ(create(5, 0, 0xffff), 0);
    EXPECT_TRUE(stored);
    stored = false;
    sent = command(DELETE, own_id, 5, nullptr, 0);
    EXPECT_EQ(gpon_flow_me_general_delete(&entry, &sent), 0);
    EXPECT_TRUE(stored) << "a delete runs them while the instance is still there";
    EXPECT_THAT(ids_of(head), IsEmpty());
}

TEST_F(own_class, delete_runs_every_handler_with_the_stored_record)
{
    create(1, 1234, 0);
    const test_record other = {1, 5};
    sent = command(DELETE, own_id, 1, &other, 0);
    EXPECT_EQ(gpon_flow_me_general_delete(&entry, &sent), 0);
    EXPECT_THAT(called(), ElementsAre(1, 2, 3));
    for (const handler_call& call : handler_calls) {
        EXPECT_EQ(call.value, 1234u);
        EXPECT_EQ(call.msg_type, DELETE);
    }
    EXPECT_THAT(ids_of(head), IsEmpty());
}

TEST_F(own_class, delete_of_an_absent_instance_runs_every_handler_with_a_zeroed_record)
{
    sent = command(DELETE, own_id, 1, nullptr, 0);
    EXPECT_EQ(gpon_flow_me_general_delete(&entry, &sent), 0);
    EXPECT_THAT(called(), ElementsAre(1, 2, 3));
    EXPECT_EQ(handler_calls[0].value, 0u);
}

TEST_F(own_class, without_handler_table_nothing_is_stored)
{
    info.attr_ops = nullptr;
    gponDebugLevel = LOG_TRACE;
    EXPECT_EQ(create(1, 0, 0xffff), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("***TRACE***[gpon_flow_me_general_create][0]: Enter",
                            "***TRACE***[gpon_flow_me_general_create][0]: Do nothing for this "
                            "attribute."));
    EXPECT_THAT(ids_of(head), IsEmpty());
}

TEST_F(own_class, without_handler_table_a_delete_just_deletes)
{
    create(1, 0, 0);
    info.attr_ops = nullptr;
    const uint64_t allocations = gpon::host::memory().allocations;
    sent = command(DELETE, own_id, 1, nullptr);
    EXPECT_EQ(gpon_flow_me_general_delete(&entry, &sent), 0);
    EXPECT_THAT(ids_of(head), IsEmpty());
    EXPECT_EQ(gpon::host::memory().allocations, allocations);
}

TEST_F(own_class, without_list_a_delete_does_nothing)
{
    entry.list_info = nullptr;
    sent = command(DELETE, own_id, 1, nullptr);
    EXPECT_EQ(gpon_flow_me_general_delete(&entry, &sent), 0);
    EXPECT_THAT(called(), IsEmpty());
    entry.list_info = &info;
}

TEST_F(own_class, a_create_that_cannot_be_stored_runs_no_handler)
{
    info.related_info = nullptr;
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(create(1, 0, 0xffff), -1);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_flow_list_add_inst][0] input parament is NULL\r",
                            "***ERROR***[gpon_flow_me_general_create][0]: Add to list fail"));
    EXPECT_THAT(called(), IsEmpty());
}

TEST_F(own_class, missing_arguments_are_reported)
{
    sent = command(CREATE, own_id, 1, nullptr);
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_me_general_create(nullptr, &sent), -1);
    EXPECT_EQ(gpon_flow_me_general_create(&entry, nullptr), -1);
    EXPECT_EQ(gpon_flow_me_general_delete(nullptr, &sent), -1);
    EXPECT_EQ(gpon_flow_me_general_delete(&entry, nullptr), -1);
    const std::string create_line = "***ERROR***[gpon_flow_me_general_create][0]Parameter is Null.";
    const std::string delete_line = "***ERROR***[gpon_flow_me_general_delete][0]Parameter is Null.";
    EXPECT_THAT(log_lines(), ElementsAre(create_line, create_line, delete_line, delete_line));
}

// ---- control records

class control_record : public loaded_module {
protected:
    static void learn_a_rule()
    {
        const gpon_rule_trace trace = {{{me_class::pptp, 1}}};
        EXPECT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &trace), 0);
    }
    static bool rule_is_known()
    {
        gpon_rule_trace trace;
        return gpon_hash_get_rule_safe(key, sizeof(key), &trace) == 0;
    }
    static i32 send(u32 cmd)
    {
        gpon_flow_cmd record = {};
        record.cmd = cmd;
        return gpon_flow_dispatch_omci_cmd(&record);
    }
    static constexpr u8 key[16] = {1, 2, 3};
};

TEST_F(control_record, every_me_command_deletes_the_rules_even_if_it_fails)
{
    const gpon_raw_mbsp raw = {};
    struct {
        u8 msg_type;
        me_class class_id;
        const void* raw;
        i32 result;
    } const commands[] = {
        {CREATE, me_class::mbsp, &raw, 0},          {SET, me_class::mbsp, &raw, 0},
        {DELETE, me_class::mbsp, nullptr, 0},       {CREATE, gpon::to_me_class(46), &raw, -1},
        {CREATE, gpon::to_me_class(999), &raw, -1}, {5, me_class::mbsp, &raw, 0},
        {CREATE, me_class::mbsp, nullptr, -1}};
    for (const auto& sent : commands) {
        learn_a_rule();
        EXPECT_EQ(apply(sent.msg_type, sent.class_id, 1, sent.raw), sent.result);
        EXPECT_FALSE(rule_is_known());
    }
}

TEST_F(control_record, clean_deletes_rules_and_instances)
{
    learn_a_rule();
    create_bridge(1);
    learn_a_rule();
    EXPECT_EQ(send(GPON_FLOW_CMD_CLEAN), 0);
    EXPECT_FALSE(rule_is_known());
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
}

TEST_F(control_record, other_commands_keep_the_rules)
{
    learn_a_rule();
    EXPECT_EQ(send(GPON_FLOW_CMD_CFG_DATA), -1);
    EXPECT_EQ(send(GPON_FLOW_CMD_DEBUG), 0);
    EXPECT_EQ(send(4), -1);
    EXPECT_TRUE(rule_is_known());
}

TEST_F(control_record, an_unreadable_record_is_refused_without_effect)
{
    learn_a_rule();
    gponDebugLevel = LOG_ERROR | LOG_WARNING | LOG_TRACE;
    EXPECT_EQ(gpon_flow_dispatch_omci_cmd(nullptr), -1);
    EXPECT_EQ(gpon_flow_dispatch_omci_cmd(reinterpret_cast<void*>(~uintptr_t{0} - 8)), -1);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_TRUE(rule_is_known());
}

TEST_F(control_record, the_default_configuration_is_kept_whole)
{
    std::array<u8, 40> bytes;
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<u8>(i + 1);
    EXPECT_EQ(gpon_flow_load_cfg_data(bytes.data()), 0);
    EXPECT_EQ(std::memcmp(&gpon_flow_cfg_data, bytes.data(), bytes.size()), 0);
    EXPECT_EQ(gpon_flow_cfg_data.upstream_queue_num, 0x0a09);
    EXPECT_EQ(gpon_flow_cfg_data.related_port_boundary, 0x100f0e0du);
    EXPECT_EQ(gpon_flow_cfg_data.default_ts_pointer, 0x1211);
    EXPECT_EQ(gpon_flow_cfg_data.default_weight, 0x13);
    EXPECT_EQ(gpon_flow_cfg_data.queues_per_uni, 0x18171615u);
    EXPECT_EQ(gpon_flow_cfg_data.queues_per_tcont, 0x1c1b1a19u);
    EXPECT_EQ(gpon_flow_cfg_data.downstream_queue_base, 0x201f1e1du);
    EXPECT_EQ(gpon_flow_cfg_data.tcont_base, 0x24232221u);
    EXPECT_EQ(gpon_flow_cfg_data.traffic_mgmt_option, 0x25);
}

TEST_F(control_record, a_failed_load_of_the_configuration_zeroes_it)
{
    const struct gpon_flow_cfg_data nothing = {};
    std::array<u8, 40> bytes;
    bytes.fill(0xff);
    gponDebugLevel = LOG_ERROR;
    const auto fails = [&](const void* from) {
        EXPECT_EQ(gpon_flow_load_cfg_data(bytes.data()), 0);
        EXPECT_EQ(gpon_flow_load_cfg_data(from), -1);
        EXPECT_EQ(std::memcmp(&gpon_flow_cfg_data, &nothing, sizeof(nothing)), 0);
    };
    fails(nullptr);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***default cfg ptr is NULL"));
    fails(reinterpret_cast<void*>(8));
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(control_record, a_word_without_end_is_ended)
{
    char set[32] = "set";
    char level[32] = "debug_level";
    char digits[32];
    std::memset(digits, '0', sizeof(digits));
    digits[30] = '6';
    digits[31] = '7';
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_DEBUG;
    record.args[0] = reinterpret_cast<uintptr_t>(set);
    record.args[1] = reinterpret_cast<uintptr_t>(level);
    record.args[2] = reinterpret_cast<uintptr_t>(digits);
    EXPECT_EQ(gpon_flow_dispatch_omci_cmd(&record), 0);
    EXPECT_EQ(gponDebugLevel, 6u);
}

TEST_F(control_record, words_after_an_unreadable_one_are_absent)
{
    char show[32] = "show";
    char flag[32] = "en_flag";
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_DEBUG;
    record.args[0] = reinterpret_cast<uintptr_t>(show);
    record.args[2] = reinterpret_cast<uintptr_t>(flag);
    EXPECT_EQ(gpon_flow_dispatch_omci_cmd(&record), 0);
    EXPECT_THAT(log_lines(), Contains("Usage:"));
}

TEST_F(control_record, a_set_is_a_create)
{
    const gpon_raw_mbsp raw = {
        .instID = 5, .uniBridgingEnable = 0, .helloTime = 7, .dynFilterAgingTime = 0};
    EXPECT_EQ(apply(SET, me_class::mbsp, 5, &raw), 0);
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(5));
}

TEST_F(control_record, the_command_s_id_counts_not_the_record_s)
{
    const gpon_raw_mbsp raw = {
        .instID = 9, .uniBridgingEnable = 0, .helloTime = 0, .dynFilterAgingTime = 0};
    EXPECT_EQ(apply(CREATE, me_class::mbsp, 5, &raw), 0);
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(5));
}

TEST_F(control_record, a_failed_handler_keeps_the_others_running)
{
    create_bridge(1);
    EXPECT_EQ(create_port(0x101, 1, 4, 9), 0) << "no class for TP type 4";
    EXPECT_THAT(recorded(me_class::mbsp, 1, me_class::mbpcd), ElementsAre(0x101));
}

} // namespace
