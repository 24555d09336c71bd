// SPDX-License-Identifier: GPL-2.0-only
#include <cstring>

#include "tests/unit/store_access.h"

#include "hash/rule_table.h"
#include "me_class/classes.h"

namespace {

using gpon::test::ids_of;
using testing::ElementsAre;
using testing::IsEmpty;

const gpon_me_entry& bridges = me_table[2];

// Bridges are added and read directly in the list.
class instance_list : public loaded_module {
protected:
    static i32 add(u16 id, u16 hello_time = 0)
    {
        const gpon_raw_mbsp raw = {
            .instID = id, .uniBridgingEnable = 1, .helloTime = hello_time, .dynFilterAgingTime = 0};
        const gpon_me_cmd cmd =
            gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, id, &raw);
        return gpon_flow_list_add_inst(&bridges, &cmd);
    }
    static gpon_me_inst* find(u16 id) { return gpon::find_inst(&gpon_mbsp_list, id); }
    static u16 hello_time(u16 id)
    {
        gpon_raw_mbsp raw = {};
        EXPECT_EQ(gpon_flow_list_get_raw(&gpon_mbsp_list, id, &raw, sizeof(raw)), 0);
        return raw.helloTime;
    }
};

TEST_F(instance_list, new_instances_go_to_the_tail)
{
    EXPECT_EQ(add(7), 0);
    EXPECT_EQ(add(3), 0);
    EXPECT_EQ(add(5), 0);
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(7, 3, 5));
}

TEST_F(instance_list, an_instance_owns_a_copy_of_its_record_and_of_its_class_s_links)
{
    add(1, 42);
    const gpon_me_inst* inst = find(1);
    ASSERT_NE(inst, nullptr);
    EXPECT_EQ(hello_time(1), 42);
    EXPECT_NE(inst->related, mbspListInfo.related_info);
    EXPECT_EQ(inst->related[0].related_class_id, me_class::mbpcd);
    EXPECT_STREQ(inst->related[0].name, "mbpcdInst");
    EXPECT_EQ(inst->related[0].related_inst_num, 512);
    EXPECT_NE(inst->related[0].related_ids, nullptr);
    EXPECT_EQ(inst->related[1].related_class_id, me_class::none);
    EXPECT_EQ(mbspListInfo.related_info[0].related_ids, nullptr);
}

TEST_F(instance_list, an_array_has_56_bytes_a_place)
{
    const uint64_t before = gpon::host::memory().live_bytes;
    add(1);
    EXPECT_EQ(gpon::host::memory().live_bytes - before, 56u + 8 + 2 * 88 + 512 * 56);
}

TEST_F(instance_list, adding_an_existing_id_overwrites_the_record_and_keeps_the_links)
{
    add(1, 10);
    add(2, 20);
    gpon_me_inst* old = find(2);
    add(3, 30);
    u8* raw = old->raw;
    gpon_me_related_info* related = old->related;
    related[0].related_ids[0] = {.instExist = 1, .instId = 0x101};

    EXPECT_EQ(add(2, 99), 0);
    const gpon_me_inst* renewed = find(2);
    EXPECT_NE(renewed, old) << "the node is replaced, not changed";
    EXPECT_EQ(renewed->raw, raw);
    EXPECT_EQ(renewed->related, related);
    EXPECT_EQ(hello_time(2), 99);
    EXPECT_THAT(gpon::test::recorded(related[0]), ElementsAre(0x101));
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1, 2, 3));
}

TEST_F(instance_list, replacing_frees_the_old_node_only)
{
    add(1);
    const uint64_t before = gpon::host::memory().live_bytes;
    add(1);
    gpon::host::rcu_settle();
    EXPECT_EQ(gpon::host::memory().live_bytes, before);
}

TEST_F(instance_list, a_reader_on_a_replaced_node_continues)
{
    add(1);
    add(2);
    const uint64_t before = gpon::host::memory().live_blocks;
    rcu_read_lock();
    const gpon_me_inst* old = find(1);
    add(1, 5);
    EXPECT_EQ(gpon::inst_of(old->link.next)->inst_id, 2);
    EXPECT_NE(old->link.prev, &gpon_mbsp_list) << "a stray writer must not get back on the list";
    EXPECT_EQ(gpon::host::memory().live_blocks, before + 1) << "not freed under the reader";
    rcu_read_unlock();
}

TEST_F(instance_list, a_reader_on_a_deleted_node_continues)
{
    add(1);
    add(2);
    add(3);
    const uint64_t before = gpon::host::memory().live_blocks;
    rcu_read_lock();
    const gpon_me_inst* first = find(1);
    const gpon_me_inst* second = find(2);
    EXPECT_EQ(gpon_flow_list_delete_inst(&bridges, 0, 1), 0);
    EXPECT_EQ(first->link.next, &second->link);
    EXPECT_EQ(gpon::inst_of(second->link.next)->inst_id, 3);
    EXPECT_NE(second->link.prev, &first->link);
    EXPECT_EQ(gpon::host::memory().live_blocks, before) << "not freed under the reader";
    rcu_read_unlock();
    gpon::host::rcu_settle();
    EXPECT_EQ(gpon::host::memory().live_blocks, before - 3 * 4);
}

// A search that starts after the last result finds the same instance as a search from the head.
class search_from_the_last : public instance_list {
protected:
    search_from_the_last()
    {
        for (const u16 id : u16s{4, 2, 7, 1})
            add(id);
    }
    const gpon_me_inst* search(u16 id) { return gpon::find_inst_after(&gpon_mbsp_list, id, last); }

    const gpon_me_inst* last = nullptr;
};

TEST_F(search_from_the_last, finds_any_id_after_any_other)
{
    const gpon::rcu_reader reader;
    for (const u16 first : u16s{4, 2, 7, 1})
        for (const u16 second : u16s{4, 2, 7, 1}) {
            last = nullptr;
            EXPECT_EQ(search(first), find(first));
            EXPECT_EQ(last, find(first));
            EXPECT_EQ(search(second), find(second)) << second << " after " << first;
            EXPECT_EQ(last, find(second));
        }
}

TEST_F(search_from_the_last, an_absent_id_does_not_move_it)
{
    const gpon::rcu_reader reader;
    EXPECT_EQ(search(9), nullptr);
    EXPECT_EQ(last, nullptr);
    search(2);
    EXPECT_EQ(search(9), nullptr);
    EXPECT_EQ(last, find(2));
}

TEST_F(search_from_the_last, continues_from_an_instance_that_left_the_list)
{
    rcu_read_lock();
    search(2);
    gpon_flow_list_delete_inst(&bridges, 2, 0);
    EXPECT_EQ(search(7), find(7));
    gpon_flow_list_delete_inst(&bridges, 7, 0);
    EXPECT_EQ(search(2), nullptr);
    EXPECT_EQ(search(4), find(4));
    EXPECT_EQ(search(1), find(1));
    rcu_read_unlock();
}

TEST_F(search_from_the_last, follows_an_instance_that_was_replaced)
{
    rcu_read_lock();
    search(2);
    add(7, 77);
    EXPECT_EQ(search(7), find(7));
    add(7, 78);
    EXPECT_EQ(search(1), find(1));
    EXPECT_EQ(search(7)->raw, find(7)->raw);
    rcu_read_unlock();
}

TEST_F(instance_list, an_add_without_class_list_template_or_command_fails)
{
    const gpon_raw_mbsp raw = {};
    const gpon_me_cmd cmd = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, 1, &raw);
    gpon_me_list_info no_head = mbspListInfo;
    no_head.head = nullptr;
    gpon_me_list_info no_template = mbspListInfo;
    no_template.related_info = nullptr;
    const gpon_me_entry without_info = {me_class::mbsp, "", 1, nullptr, nullptr};
    const gpon_me_entry without_head = {me_class::mbsp, "", 1, &no_head, nullptr};
    const gpon_me_entry without_template = {me_class::mbsp, "", 1, &no_template, nullptr};
    gponDebugLevel = LOG_ERROR;
    for (const gpon_me_entry* entry : {static_cast<const gpon_me_entry*>(nullptr), &without_info,
                                       &without_head, &without_template}) {
        EXPECT_EQ(gpon_flow_list_add_inst(entry, &cmd), -1);
        EXPECT_THAT(
            log_lines(),
            ElementsAre("***ERROR***[gpon_flow_list_add_inst][0] input parament is NULL\r"));
    }
    EXPECT_EQ(gpon_flow_list_add_inst(&bridges, nullptr), -1);
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
}

TEST_F(instance_list, delete_takes_every_instance_with_the_id)
{
    for (u16 id = 1; id <= 5; ++id)
        add(id);
    find(3)->inst_id = 2;
    find(5)->inst_id = 2;
    EXPECT_EQ(gpon_flow_list_delete_inst(&bridges, 2, 0), 0);
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1, 4));
}

TEST_F(instance_list, delete_all_empties_the_list)
{
    for (u16 id = 1; id <= 5; ++id)
        add(id);
    EXPECT_EQ(gpon_flow_list_delete_inst(&bridges, 0, 1), 0);
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
}

TEST_F(instance_list, only_one_means_all)
{
    add(1);
    add(2);
    EXPECT_EQ(gpon_flow_list_delete_inst(&bridges, 9, 2), 0);
    EXPECT_EQ(gpon_flow_list_delete_inst(&bridges, 9, -1), 0);
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1, 2));
}

TEST_F(instance_list, deleting_nothing_succeeds_with_a_line_at_error_level)
{
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_list_delete_inst(&bridges, 1, 0), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_flow_list_delete_inst][0] Delete inst Success\r"));
    EXPECT_EQ(gpon_flow_list_delete_inst(&bridges, 0, 1), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_flow_list_delete_inst][0] Delete inst Success\r"));
}

TEST_F(instance_list, a_delete_without_class_or_list_warns)
{
    gpon_me_list_info no_head = mbspListInfo;
    no_head.head = nullptr;
    const gpon_me_entry without_info = {me_class::mbsp, "", 1, nullptr, nullptr};
    const gpon_me_entry without_head = {me_class::mbsp, "", 1, &no_head, nullptr};
    gponDebugLevel = LOG_ERROR | LOG_WARNING;
    for (const gpon_me_entry* entry :
         {static_cast<const gpon_me_entry*>(nullptr), &without_info, &without_head}) {
        EXPECT_EQ(gpon_flow_list_delete_inst(entry, 1, 1), -1);
        EXPECT_THAT(
            log_lines(),
            ElementsAre("**WARNING**[gpon_flow_list_delete_inst][0] input parament is NULL\r"));
    }
}

TEST_F(instance_list, reading_an_absent_id_succeeds_and_keeps_the_destination)
{
    add(1);
    u8 raw[8];
    std::memset(raw, 0x5a, sizeof(raw));
    EXPECT_EQ(gpon_flow_list_get_raw(&gpon_mbsp_list, 2, raw, sizeof(raw)), 0);
    EXPECT_THAT(raw, testing::Each(0x5a));
    u8 related[2 * 88];
    std::memset(related, 0x5a, sizeof(related));
    EXPECT_EQ(gpon_flow_list_get_related_data(&gpon_mbsp_list, 2, related, sizeof(related)), 0);
    EXPECT_THAT(related, testing::Each(0x5a));
}

TEST_F(instance_list, reading_copies_exactly_the_length_asked_for)
{
    add(0x1234, 0x5678);
    for (i32 length = 0; length <= 8; ++length) {
        u8 raw[9];
        std::memset(raw, 0x5a, sizeof(raw));
        EXPECT_EQ(gpon_flow_list_get_raw(&gpon_mbsp_list, 0x1234, raw, length), 0);
        EXPECT_EQ(std::memcmp(raw, find(0x1234)->raw, static_cast<size_t>(length)), 0);
        for (i32 i = length; i < 9; ++i)
            EXPECT_EQ(raw[i], 0x5a) << length;
    }
}

TEST_F(instance_list, reading_links_gives_the_rows_with_their_arrays)
{
    add(1);
    gpon_me_related_info rows[2] = {};
    EXPECT_EQ(gpon_flow_list_get_related_data(&gpon_mbsp_list, 1, rows, sizeof(rows)), 0);
    EXPECT_EQ(rows[0].related_ids, find(1)->related[0].related_ids);
    EXPECT_EQ(rows[0].related_class_id, me_class::mbpcd);
    EXPECT_EQ(rows[1].related_class_id, me_class::none);
}

TEST_F(instance_list, reading_without_list_or_destination_warns)
{
    u8 raw[8];
    gponDebugLevel = LOG_WARNING;
    EXPECT_EQ(gpon_flow_list_get_raw(nullptr, 1, raw, 8), -1);
    EXPECT_EQ(gpon_flow_list_get_raw(&gpon_mbsp_list, 1, nullptr, 8), -1);
    EXPECT_EQ(gpon_flow_list_get_related_data(nullptr, 1, raw, 8), -1);
    EXPECT_EQ(gpon_flow_list_get_related_data(&gpon_mbsp_list, 1, nullptr, 8), -1);
    const std::string raw_line = "**WARNING**[gpon_flow_list_get_raw][0] input parament is NULL\r";
    const std::string related_line =
        "**WARNING**[gpon_flow_list_get_related_data][0] input parament is NULL\r";
    EXPECT_THAT(log_lines(), ElementsAre(raw_line, raw_line, related_line, related_line));
}

TEST_F(instance_list, cleaning_every_class_keeps_learnt_rules)
{
    const u8 key[16] = {1};
    const gpon_rule_trace trace = {{{me_class::pptp, 1}}};
    add(1);
    gpon::test::create_port(0x101, 1);
    ASSERT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &trace), 0);
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_clean_all_me_inst(), 0);
    gponDebugLevel = 0;
    EXPECT_THAT(log_lines(), testing::SizeIs(15));
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
    EXPECT_THAT(ids_of(gpon_mbpcd_list), IsEmpty());
    gpon_rule_trace found = {};
    EXPECT_EQ(gpon_hash_get_rule_safe(key, sizeof(key), &found), 0);
}

} // namespace
