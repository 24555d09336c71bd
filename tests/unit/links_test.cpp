// SPDX-License-Identifier: GPL-2.0-only
#include "tests/unit/store_access.h"

namespace {

using gpon::test::recorded;
using testing::ElementsAre;
using testing::IsEmpty;

using gpon::test::CREATE;
using gpon::test::DELETE;
using gpon::test::SET;

// A table of two relations, room for three and for one.
const gpon_me_related_info table[] = {
    {me_class::mbpcd, "ports", nullptr, 3}, {me_class::vtfd, "filter", nullptr, 1}, {}};

class related_ids : public loaded_module {
protected:
    related_ids() { EXPECT_EQ(gpon_flow_list_alloc_related_data(rows, table, sizeof(table)), 0); }
    ~related_ids() override { gpon_flow_list_free_related_data(rows); }

    void apply(u8 msg_type, u16 id, me_class from_class = me_class::mbpcd)
    {
        const gpon_me_related_update update = {.class_id = from_class,
                                               .entity_id = id,
                                               .related_class_id = me_class::mbsp,
                                               .related_inst_id = 1,
                                               .msg_type = msg_type};
        gpon_flow_list_update_related_id(rows, &update);
    }

    gpon_me_related_info rows[3] = {};
};

TEST_F(related_ids, a_copy_has_the_template_s_rows_and_free_arrays)
{
    EXPECT_EQ(rows[0].related_class_id, me_class::mbpcd);
    EXPECT_STREQ(rows[0].name, "ports");
    EXPECT_EQ(rows[0].related_inst_num, 3);
    EXPECT_EQ(rows[1].related_class_id, me_class::vtfd);
    EXPECT_EQ(rows[2].related_class_id, me_class::none);
    EXPECT_EQ(rows[2].related_ids, nullptr);
    EXPECT_THAT(recorded(rows[0]), IsEmpty());
    EXPECT_THAT(recorded(rows[1]), IsEmpty());
}

TEST_F(related_ids, a_copy_takes_56_bytes_a_place_and_gives_them_back)
{
    const gpon::host::memory_use before = gpon::host::memory();
    gpon_me_related_info copy[3];
    ASSERT_EQ(gpon_flow_list_alloc_related_data(copy, table, sizeof(table)), 0);
    EXPECT_EQ(gpon::host::memory().live_blocks, before.live_blocks + 2);
    EXPECT_EQ(gpon::host::memory().live_bytes, before.live_bytes + 3 * 56 + 1 * 56);
    gpon_flow_list_free_related_data(copy);
    EXPECT_EQ(gpon::host::memory().live_blocks, before.live_blocks);
}

TEST_F(related_ids, an_empty_template_needs_no_array)
{
    const gpon_me_related_info empty[1] = {};
    gpon_me_related_info copy[1] = {{gpon::to_me_class(7), "left over", nullptr, 1}};
    const uint64_t before = gpon::host::memory().allocations;
    EXPECT_EQ(gpon_flow_list_alloc_related_data(copy, empty, sizeof(empty)), 0);
    EXPECT_EQ(copy[0].related_class_id, me_class::none);
    EXPECT_EQ(gpon::host::memory().allocations, before);
    gpon_flow_list_free_related_data(copy);
}

TEST_F(related_ids, a_failed_allocation_of_an_array_frees_the_others)
{
    const uint64_t before = gpon::host::memory().live_blocks;
    gponDebugLevel = LOG_ERROR;
    for (const uint64_t nth : {1, 2}) {
        gpon_me_related_info copy[3];
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        EXPECT_EQ(gpon_flow_list_alloc_related_data(copy, table, sizeof(table)), -1);
        EXPECT_THAT(
            log_lines(),
            ElementsAre("***ERROR***[gpon_flow_list_alloc_related_data][0] kzalloc fail\r"));
        EXPECT_EQ(gpon::host::memory().live_blocks, before);
    }
}

TEST_F(related_ids, copies_without_source_or_destination_are_refused)
{
    gpon_me_related_info copy[3];
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_list_alloc_related_data(nullptr, table, sizeof(table)), -1);
    EXPECT_EQ(gpon_flow_list_alloc_related_data(copy, nullptr, sizeof(table)), -1);
    const std::string line =
        "***ERROR***[gpon_flow_list_alloc_related_data][0] input parament is NULL\r";
    EXPECT_THAT(log_lines(), ElementsAre(line, line));
}

TEST_F(related_ids, freeing_nothing_is_reported)
{
    gponDebugLevel = LOG_ERROR;
    gpon_flow_list_free_related_data(nullptr);
    EXPECT_THAT(
        log_lines(),
        ElementsAre("***ERROR***[gpon_flow_list_free_related_data][0] input parament is NULL\r"));
}

TEST_F(related_ids, create_takes_the_first_free_place)
{
    apply(CREATE, 0x101);
    apply(CREATE, 0x102);
    EXPECT_THAT(recorded(rows[0]), ElementsAre(0x101, 0x102));
    EXPECT_THAT(recorded(rows[1]), IsEmpty());
}

TEST_F(related_ids, create_records_the_same_id_again)
{
    apply(CREATE, 0x101);
    apply(CREATE, 0x101);
    EXPECT_THAT(recorded(rows[0]), ElementsAre(0x101, 0x101));
}

TEST_F(related_ids, create_into_a_full_array_is_dropped_silently)
{
    for (const u16 id : u16s{1, 2, 3})
        apply(CREATE, id);
    gponDebugLevel = LOG_ERROR | LOG_WARNING | LOG_TRACE;
    apply(CREATE, 4);
    EXPECT_THAT(
        log_lines(),
        ElementsAre("***TRACE***[gpon_flow_list_update_related_id][0]: Enter",
                    "***TRACE***[gpon_flow_list_update_related_id][0]: class_id(47), "
                    "related_class_id(45)",
                    "***TRACE***[gpon_flow_list_update_related_id][0]: get related entry, "
                    "class_id(47), related_class_id(45)",
                    "***TRACE***[gpon_flow_list_update_related_id][0]: msg_type = 4",
                    "***TRACE***[gpon_flow_list_update_related_id][0]: ZR_OMCI_MSG_TYPE_CREAT done",
                    "***ERROR***[gpon_flow_list_update_related_id][0] update relate id Success\r"));
    EXPECT_THAT(recorded(rows[0]), ElementsAre(1, 2, 3));
}

TEST_F(related_ids, create_traces_the_place_taken)
{
    apply(CREATE, 1);
    gponDebugLevel = LOG_TRACE;
    apply(CREATE, 0xab);
    EXPECT_THAT(log_lines(),
                testing::Contains("***TRACE***[gpon_flow_list_update_related_id][0] index = 1, "
                                  "entity id 00ab\r"));
}

TEST_F(related_ids, set_records_an_id_once)
{
    apply(SET, 0x101);
    apply(SET, 0x102);
    gponDebugLevel = LOG_TRACE;
    apply(SET, 0x102);
    EXPECT_THAT(log_lines(),
                testing::Contains("***TRACE***[gpon_flow_list_update_related_id][0] Related "
                                  "Instance Already exist,index = 1, entity id 0102\r"));
    EXPECT_THAT(recorded(rows[0]), ElementsAre(0x101, 0x102));
}

TEST_F(related_ids, set_claims_a_place_without_a_trace_of_its_own)
{
    gponDebugLevel = LOG_TRACE;
    apply(SET, 0x101);
    EXPECT_THAT(log_lines(),
                ElementsAre("***TRACE***[gpon_flow_list_update_related_id][0]: Enter",
                            "***TRACE***[gpon_flow_list_update_related_id][0]: class_id(47), "
                            "related_class_id(45)",
                            "***TRACE***[gpon_flow_list_update_related_id][0]: get related entry, "
                            "class_id(47), related_class_id(45)",
                            "***TRACE***[gpon_flow_list_update_related_id][0]: msg_type = 8",
                            "***TRACE***[gpon_flow_list_update_related_id][0]: "
                            "ZR_OMCI_MSG_TYPE_SET done"));
}

TEST_F(related_ids, set_into_a_full_array_warns_with_its_capacity)
{
    for (const u16 id : u16s{1, 2, 3})
        apply(SET, id);
    gponDebugLevel = LOG_WARNING;
    apply(SET, 4);
    EXPECT_THAT(log_lines(),
                ElementsAre("**WARNING**[gpon_flow_list_update_related_id][0] Related Instance "
                            "buffer is full,related_inst_num =3\r"));
    apply(SET, 3);
    EXPECT_THAT(log_lines(), IsEmpty()) << "an id that is there needs no place";
    EXPECT_THAT(recorded(rows[0]), ElementsAre(1, 2, 3));
}

TEST_F(related_ids, set_stops_at_the_first_free_place)
{
    rows[0].related_ids[1] = {.instExist = 1, .instId = 5};
    apply(SET, 5);
    EXPECT_EQ(rows[0].related_ids[0].instId, 5);
    EXPECT_EQ(rows[0].related_ids[1].instId, 5);
}

// Ids that are recorded, one that is deleted, and those that remain.
struct deletion {
    const char* name;
    std::vector<u16> recorded;
    u16 deleted;
    std::vector<u16> left;
};

class deleted_id : public related_ids, public testing::WithParamInterface<deletion> {};

TEST_P(deleted_id, leaves_the_others_in_order_before_cleared_places)
{
    const deletion& change = GetParam();
    for (const u16 id : change.recorded)
        apply(CREATE, id);
    apply(DELETE, change.deleted);
    EXPECT_THAT(recorded(rows[0]), testing::ElementsAreArray(change.left));
    for (size_t free = change.left.size(); free < 3; ++free)
        EXPECT_EQ(rows[0].related_ids[free].instId, 0);
}

const deletion deletions[] = {
    {"first_of_three", {1, 2, 3}, 1, {2, 3}},
    {"middle_of_three", {1, 2, 3}, 2, {1, 3}},
    {"last_of_three", {1, 2, 3}, 3, {1, 2}},
    {"first_of_two", {1, 3}, 1, {3}},
    {"only_one", {9}, 9, {}},
    {"one_of_two_equal", {7, 7, 8}, 7, {7, 8}},
    {"absent", {1}, 2, {1}},
    {"from_an_empty_row", {}, 1, {}},
};

INSTANTIATE_TEST_SUITE_P(related_ids, deleted_id, testing::ValuesIn(deletions),
                         [](const auto& row) { return row.param.name; });

TEST_F(related_ids, delete_concerns_the_row_of_its_class)
{
    apply(CREATE, 9);
    apply(CREATE, 9, me_class::vtfd);
    apply(DELETE, 9, me_class::vtfd);
    EXPECT_THAT(recorded(rows[0]), ElementsAre(9));
    EXPECT_THAT(recorded(rows[1]), IsEmpty());
}

TEST_F(related_ids, delete_removes_the_first_match_only)
{
    for (const u16 id : u16s{7, 7, 8})
        apply(CREATE, id);
    gponDebugLevel = LOG_TRACE;
    apply(DELETE, 7);
    EXPECT_THAT(log_lines(),
                testing::IsSupersetOf(
                    {"***TRACE***[gpon_flow_list_update_related_id][0] Delete, index = 0, entity "
                     "id 0007\r",
                     "***TRACE***[gpon_flow_list_update_related_id][0]: ZR_OMCI_MSG_TYPE_DELETE "
                     "done"}));
    EXPECT_THAT(recorded(rows[0]), ElementsAre(7, 8));
}

TEST_F(related_ids, delete_of_an_absent_id_changes_nothing)
{
    apply(CREATE, 1);
    gponDebugLevel = LOG_ERROR;
    apply(DELETE, 2);
    EXPECT_THAT(
        log_lines(),
        ElementsAre("***ERROR***[gpon_flow_list_update_related_id][0] update relate id Success\r"));
    EXPECT_THAT(recorded(rows[0]), ElementsAre(1));
}

// Deletion goes by the id alone, and a free place has id 0.
TEST_F(related_ids, delete_of_id_zero_finds_a_free_place)
{
    apply(CREATE, 1);
    gponDebugLevel = LOG_TRACE;
    apply(DELETE, 0);
    EXPECT_THAT(log_lines(),
                testing::Contains("***TRACE***[gpon_flow_list_update_related_id][0] Delete, index "
                                  "= 1, entity id 0000\r"));
    EXPECT_THAT(recorded(rows[0]), ElementsAre(1));
}

TEST_F(related_ids, each_class_has_its_own_row)
{
    apply(CREATE, 5, me_class::vtfd);
    EXPECT_THAT(recorded(rows[0]), IsEmpty());
    EXPECT_THAT(recorded(rows[1]), ElementsAre(5));
}

TEST_F(related_ids, a_class_without_row_is_reported)
{
    gponDebugLevel = LOG_ERROR;
    for (const me_class from_class : {me_class::none, me_class::evtocd}) {
        apply(CREATE, 5, from_class);
        EXPECT_THAT(
            log_lines(),
            ElementsAre("***ERROR***[gpon_flow_list_update_related_id][0] Without Related ME\r"));
    }
    EXPECT_THAT(recorded(rows[0]), IsEmpty());
    EXPECT_THAT(recorded(rows[1]), IsEmpty());
}

TEST_F(related_ids, another_message_is_an_error_and_no_success)
{
    gponDebugLevel = LOG_ERROR;
    for (const u8 msg_type : u8s{0, 5, 7, 9, 255}) {
        apply(msg_type, 5);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***[gpon_flow_list_update_related_id][0] action error\r"));
    }
    EXPECT_THAT(recorded(rows[0]), IsEmpty());
}

TEST_F(related_ids, a_change_without_table_or_report_is_refused)
{
    const gpon_me_related_update update = {me_class::mbpcd, 1, me_class::mbsp, 1, CREATE};
    gponDebugLevel = LOG_ERROR;
    gpon_flow_list_update_related_id(nullptr, &update);
    gpon_flow_list_update_related_id(rows, nullptr);
    const std::string line =
        "***ERROR***[gpon_flow_list_update_related_id][0] input parament is NULL\r";
    EXPECT_THAT(log_lines(), ElementsAre(line, line));
}

} // namespace
