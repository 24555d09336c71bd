// SPDX-License-Identifier: GPL-2.0-only
#include "tests/unit/store_access.h"

#include "me/link_queries.h"
#include "me_class/classes.h"

namespace {

using gpon::test::create_bridge;
using gpon::test::create_port;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr gpon_me_related_id START = {};

constexpr gpon_me_related_id after(u16 id)
{
    return {.instExist = 1, .instId = id};
}

bool operator==(const gpon_me_related_id& a, const gpon_me_related_id& b)
{
    return a.instExist == b.instExist && (!a.instExist || a.instId == b.instId);
}

class relation_query : public loaded_module {
protected:
    // One call of either query; stores its result in `result`.
    i32 forward(me_class class_id, u16 id, me_class sought, gpon_me_related_id previous)
    {
        result = previous;
        const gpon_me_relation_query query = {class_id, id, sought, &result};
        const gpon::rcu_reader reader;
        return gpon_flow_me_get_related_id(&packet, &query);
    }
    i32 reverse(me_class class_id, u16 id, me_class sought, gpon_me_related_id previous)
    {
        result = previous;
        const gpon_me_relation_query query = {class_id, id, sought, &result};
        const gpon::rcu_reader reader;
        return gpon_flow_me_reverse_get_related_id(&packet, &query);
    }
    // A bridge that has recorded ports 0x101, 0x102 and 0x103.
    static void three_ports()
    {
        create_bridge(1);
        for (const u16 port : u16s{0x101, 0x102, 0x103})
            create_port(port, 1);
    }
    static gpon_me_related_info& ports_of(u16 bridge)
    {
        return gpon::find_inst(&gpon_mbsp_list, bridge)->related[0];
    }

    sk_buff packet;
    gpon_me_related_id result = {};
};

// One call of a query, and the instance that it returns, if any.
struct query_step {
    const char* name;
    me_class class_id;
    u16 id;
    me_class sought;
    gpon_me_related_id previous;
    gpon_me_related_id wanted;
};

constexpr gpon_me_related_id NONE = {};

std::string name_of_step(const testing::TestParamInfo<query_step>& step)
{
    return step.param.name;
}

class forward_step : public relation_query, public testing::WithParamInterface<query_step> {};

TEST_P(forward_step, finds_the_next_of_three_ports_of_a_bridge)
{
    const query_step& step = GetParam();
    three_ports();
    EXPECT_EQ(forward(step.class_id, step.id, step.sought, step.previous), 0);
    EXPECT_TRUE(result == step.wanted);
}

constexpr query_step forward_steps[] = {
    {"starts_with_the_first_recorded", me_class::mbsp, 1, me_class::mbpcd, START, after(0x101)},
    {"continues_after_the_first", me_class::mbsp, 1, me_class::mbpcd, after(0x101), after(0x102)},
    {"continues_after_the_second", me_class::mbsp, 1, me_class::mbpcd, after(0x102), after(0x103)},
    {"ends_after_the_last", me_class::mbsp, 1, me_class::mbpcd, after(0x103), NONE},
    {"ends_after_an_id_that_is_not_recorded", me_class::mbsp, 1, me_class::mbpcd, after(0x999),
     NONE},
    {"an_absent_instance_has_no_first", me_class::mbsp, 9, me_class::mbpcd, START, NONE},
    {"an_absent_instance_has_no_next", me_class::mbsp, 9, me_class::mbpcd, after(0x101), NONE},
    {"a_class_without_row_has_no_result", me_class::mbsp, 1, me_class::gemiw, START, NONE},
    {"an_empty_list_has_no_result", me_class::vtfd, 1, me_class::mbpcd, START, NONE},
};

INSTANTIATE_TEST_SUITE_P(relations, forward_step, testing::ValuesIn(forward_steps), name_of_step);

class forward_query : public relation_query {};

TEST_F(forward_query, a_free_entry_hides_the_later_ones)
{
    deliberately_broken = true;
    three_ports();
    ports_of(1).related_ids[1] = {};
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, after(0x101)), 0);
    EXPECT_EQ(result.instExist, 0);
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, after(0x103)), 0);
    EXPECT_EQ(result.instExist, 0);
}

TEST_F(forward_query, an_id_recorded_twice_comes_after_itself)
{
    create_bridge(1);
    create_port(0x101, 1);
    create_port(0x101, 1);
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, START), 0);
    EXPECT_TRUE(result == after(0x101));
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, result), 0);
    EXPECT_TRUE(result == after(0x101));
}

TEST_F(forward_query, a_full_array_is_read_to_its_last_entry)
{
    create_bridge(1);
    gpon_me_related_info& ports = ports_of(1);
    for (i32 i = 0; i < 512; ++i)
        ports.related_ids[i] = after(static_cast<u16>(1000 + i));
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, after(1510)), 0);
    EXPECT_TRUE(result == after(1511));
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, result), 0);
    EXPECT_EQ(result.instExist, 0);
}

TEST_F(forward_query, an_unknown_class_fails)
{
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(forward(gpon::to_me_class(999), 1, me_class::mbpcd, START), -1);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_flow_me_get_by_classid][0]unkown reserved ME(999) .",
                            "***ERROR***[gpon_flow_me_get_related_id][0]the classId(999) can not "
                            "get the entry."));
    EXPECT_EQ(forward(gpon::to_me_class(46), 1, me_class::mbpcd, START), -1);
}

TEST_F(forward_query, lost_memory_fails_silently_and_leaves_nothing)
{
    three_ports();
    gpon::host::rcu_settle();
    const uint64_t before = gpon::host::memory().live_blocks;
    gponDebugLevel = LOG_ERROR | LOG_WARNING;
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, START), -1);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(forward(me_class::mbsp, 1, me_class::mbpcd, START), 0);
    EXPECT_TRUE(result == after(0x101));
    EXPECT_EQ(gpon::host::memory().live_blocks, before);
}

TEST_F(forward_query, missing_arguments_are_reported)
{
    const gpon_me_relation_query query = {me_class::mbsp, 1, me_class::mbpcd, &result};
    const gpon_me_relation_query nowhere = {me_class::mbsp, 1, me_class::mbpcd, nullptr};
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_me_get_related_id(nullptr, &query), -1);
    EXPECT_EQ(gpon_flow_me_get_related_id(&packet, nullptr), -1);
    EXPECT_EQ(gpon_flow_me_get_related_id(&packet, &nowhere), -1);
    const std::string line = "***ERROR***[gpon_flow_me_get_related_id][0] input parament is NULL\r";
    EXPECT_THAT(log_lines(), ElementsAre(line, line, line));
}

TEST_F(forward_query, traces_arguments_and_result)
{
    three_ports();
    gponDebugLevel = LOG_TRACE;
    forward(me_class::mbsp, 1, me_class::mbpcd, after(0x101));
    const std::string question =
        "***TRACE***[gpon_flow_me_get_related_id][0]the classId(45) InstanceId(1) "
        "related_classId(47).";
    EXPECT_THAT(
        log_lines(),
        ElementsAre("***TRACE***[gpon_flow_me_get_related_id][0]: Enter", question,
                    "***TRACE***[gpon_flow_me_get_by_classid][0]: classId = 45, me_index = 2.",
                    "***TRACE***[gpon_flow_list_get_related_data][0]: Enter",
                    "***TRACE***[gpon_flow_list_get_related_id][0]: Enter",
                    "***TRACE***[gpon_flow_list_get_related_id] [0]: i=0", question,
                    "***TRACE***[gpon_flow_me_get_related_id][0] instExist=1,instId = 0x102"));
}

// The step over one table.
class table_step : public relation_query {
protected:
    gpon_me_related_id ids[2] = {after(1), after(2)};
    gpon_me_related_id more[2] = {after(3), {}};
    gpon_me_related_id none[1] = {};
    gpon_me_related_info rows[5] = {{me_class::vtfd, "", none, 1},
                                    {me_class::mbpcd, "", ids, 2},
                                    {me_class::mbpcd, "", none, 0},
                                    {me_class::mbpcd, "", more, 2},
                                    {}};

    i32 step(me_class sought, gpon_me_related_id previous)
    {
        result = previous;
        return gpon_flow_list_get_related_id(&packet, rows, sought, &result);
    }
};

TEST_F(table_step, continues_in_a_later_row_of_the_same_class)
{
    EXPECT_EQ(step(me_class::mbpcd, START), 0);
    EXPECT_TRUE(result == after(1));
    EXPECT_EQ(step(me_class::mbpcd, after(2)), 0);
    EXPECT_TRUE(result == after(3));
    EXPECT_EQ(step(me_class::mbpcd, after(3)), 0);
    EXPECT_EQ(result.instExist, 0);
}

TEST_F(table_step, skips_rows_without_room)
{
    rows[1].related_inst_num = 0;
    EXPECT_EQ(step(me_class::mbpcd, START), 0);
    EXPECT_TRUE(result == after(3));
    rows[3].related_inst_num = -1;
    EXPECT_EQ(step(me_class::mbpcd, START), 0);
    EXPECT_EQ(result.instExist, 0);
}

TEST_F(table_step, traces_the_row_of_the_result)
{
    gponDebugLevel = LOG_TRACE;
    step(me_class::mbpcd, after(2));
    EXPECT_THAT(log_lines(), ElementsAre("***TRACE***[gpon_flow_list_get_related_id][0]: Enter",
                                         "***TRACE***[gpon_flow_list_get_related_id] [0]: i=3"));
}

TEST_F(table_step, needs_a_table_and_a_place_for_the_result)
{
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_list_get_related_id(&packet, nullptr, me_class::mbpcd, &result), -1);
    EXPECT_EQ(gpon_flow_list_get_related_id(&packet, rows, me_class::mbpcd, nullptr), -1);
    const std::string line =
        "***ERROR***[gpon_flow_list_get_related_id] [0]: Parameter is NULL: Fail\r";
    EXPECT_THAT(log_lines(), ElementsAre(line, line));
}

class reverse_query : public relation_query {
protected:
    // Port 0x101 recorded by bridges 7 and 3, in this order of creation; 5 has another port.
    static void two_bridges()
    {
        for (const u16 bridge : u16s{7, 5, 3})
            create_bridge(bridge);
        create_port(0x101, 7);
        create_port(0x102, 5);
        create_port(0x101, 3);
    }
};

class reverse_step : public reverse_query, public testing::WithParamInterface<query_step> {};

TEST_P(reverse_step, finds_the_next_of_two_bridges_of_a_port)
{
    const query_step& step = GetParam();
    two_bridges();
    EXPECT_EQ(reverse(step.class_id, step.id, step.sought, step.previous),
              step.wanted.instExist ? 0 : -1);
    EXPECT_TRUE(result == step.wanted);
}

constexpr query_step reverse_steps[] = {
    {"starts_with_the_first_created", me_class::mbpcd, 0x101, me_class::mbsp, START, after(7)},
    {"continues_in_creation_order", me_class::mbpcd, 0x101, me_class::mbsp, after(7), after(3)},
    {"ends_after_the_last", me_class::mbpcd, 0x101, me_class::mbsp, after(3), NONE},
    {"an_id_that_no_instance_recorded_has_no_result", me_class::mbpcd, 0x999, me_class::mbsp, START,
     NONE},
    {"a_class_that_no_instance_recorded_has_no_result", me_class::gemiw, 0x101, me_class::mbsp,
     START, NONE},
};

INSTANTIATE_TEST_SUITE_P(relations, reverse_step, testing::ValuesIn(reverse_steps), name_of_step);

TEST_F(reverse_query, an_empty_list_has_no_result)
{
    gponDebugLevel = LOG_TRACE;
    EXPECT_EQ(reverse(me_class::mbpcd, 0x101, me_class::mbsp, after(4)), -1);
    EXPECT_EQ(result.instExist, 0);
    EXPECT_THAT(
        log_lines(),
        ElementsAre("***TRACE***[gpon_flow_me_reverse_get_related_id][0]: Enter",
                    "***TRACE***[gpon_flow_me_reverse_get_related_id][0]the classId(47) "
                    "InstanceId(257) related_classId(45).",
                    "***TRACE***[gpon_flow_me_get_by_classid][0]: classId = 45, me_index = 2."));
}

TEST_F(reverse_query, the_last_matching_instance_ends_it)
{
    two_bridges();
    create_bridge(9);
    EXPECT_EQ(reverse(me_class::mbpcd, 0x101, me_class::mbsp, after(3)), -1);
    EXPECT_EQ(result.instExist, 0);
}

TEST_F(reverse_query, ends_when_the_previous_result_was_deleted)
{
    two_bridges();
    gpon::test::apply(ZR_OMCI_MSG_TYPE_DELETE, me_class::mbsp, 7, nullptr);
    EXPECT_EQ(reverse(me_class::mbpcd, 0x101, me_class::mbsp, after(7)), -1);
    EXPECT_EQ(result.instExist, 0);
}

TEST_F(reverse_query, a_free_entry_hides_the_later_ones)
{
    deliberately_broken = true;
    three_ports();
    ports_of(1).related_ids[1] = {};
    EXPECT_EQ(reverse(me_class::mbpcd, 0x101, me_class::mbsp, START), 0);
    EXPECT_EQ(reverse(me_class::mbpcd, 0x103, me_class::mbsp, START), -1);
}

TEST_F(reverse_query, an_unknown_class_fails)
{
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(reverse(me_class::mbpcd, 1, gpon::to_me_class(300), START), -1);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_flow_me_reverse_get_related_id][0]the classId(300) "
                            "can not get the entry."));
}

TEST_F(reverse_query, the_class_of_the_start_need_not_be_known)
{
    two_bridges();
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(reverse(gpon::to_me_class(999), 1, me_class::mbsp, START), -1);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(reverse_query, missing_arguments_are_reported)
{
    const gpon_me_relation_query query = {me_class::mbpcd, 1, me_class::mbsp, &result};
    const gpon_me_relation_query nowhere = {me_class::mbpcd, 1, me_class::mbsp, nullptr};
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_me_reverse_get_related_id(nullptr, &query), -1);
    EXPECT_EQ(gpon_flow_me_reverse_get_related_id(&packet, nullptr), -1);
    EXPECT_EQ(gpon_flow_me_reverse_get_related_id(&packet, &nowhere), -1);
    const std::string line =
        "***ERROR***[gpon_flow_me_reverse_get_related_id][0] input parament is NULL\r";
    EXPECT_THAT(log_lines(), ElementsAre(line, line, line));
}

TEST_F(reverse_query, traces_every_row_and_entry_passed_over)
{
    // The GEM interworking TP has rows for 47, 130, 78 and 171; only the second is looked into.
    const gpon_raw_gemiw tp = {0x11, 1};
    gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, 0x11, &tp);
    gponDebugLevel = LOG_TRACE;
    EXPECT_EQ(reverse(me_class::mapper, 1, me_class::gemiw, START), -1);
    const std::string question = "***TRACE***[gpon_flow_me_reverse_get_related_id][0]the "
                                 "classId(130) InstanceId(1) related_classId(266).";
    const std::string left = "***TRACE***[gpon_flow_me_reverse_get_related_id][0]";
    EXPECT_THAT(
        log_lines(),
        ElementsAre(
            "***TRACE***[gpon_flow_me_reverse_get_related_id][0]: Enter", question,
            "***TRACE***[gpon_flow_me_get_by_classid][0]: classId = 266, me_index = 6.", left, left,
            left, left, question,
            "***TRACE***[gpon_flow_me_reverse_get_related_id][0] instExist=0,instId = 0x0"));
}

TEST_F(reverse_query, traces_the_entry_of_the_result)
{
    three_ports();
    gponDebugLevel = LOG_TRACE;
    EXPECT_EQ(reverse(me_class::mbpcd, 0x102, me_class::mbsp, START), 0);
    const std::string question = "***TRACE***[gpon_flow_me_reverse_get_related_id][0]the "
                                 "classId(47) InstanceId(258) related_classId(45).";
    EXPECT_THAT(
        log_lines(),
        ElementsAre(
            "***TRACE***[gpon_flow_me_reverse_get_related_id][0]: Enter", question,
            "***TRACE***[gpon_flow_me_get_by_classid][0]: classId = 45, me_index = 2.",
            "***TRACE***gpon_flow_me_reverse_get_related_id [0]: i=1", question,
            "***TRACE***[gpon_flow_me_reverse_get_related_id][0] instExist=1,instId = 0x1"));
}

TEST_F(reverse_query, traces_the_point_of_resumption)
{
    two_bridges();
    gponDebugLevel = LOG_TRACE;
    EXPECT_EQ(reverse(me_class::mbpcd, 0x101, me_class::mbsp, after(5)), 0);
    EXPECT_TRUE(result == after(3));
    EXPECT_THAT(log_lines(),
                testing::IsSupersetOf(
                    {"***TRACE***[gpon_flow_me_reverse_get_related_id][0] loop to next "
                     "instId,current instId= 7 , already find instId = 5 ",
                     "***TRACE***[gpon_flow_me_reverse_get_related_id][0] loop at last instId, "
                     "current instId= 5 , already find instId = 5 "}));
}

class traced_query : public relation_query {};

TEST_F(traced_query, a_marked_packet_shows_its_queries_without_any_level)
{
    three_ports();
    packet.flag_word = GPON_FLOW_TRACE_MARK;
    forward(me_class::mbsp, 1, me_class::mbpcd, START);
    EXPECT_THAT(log_lines(), Contains("***TRACE***[gpon_flow_me_get_related_id][0] "
                                      "instExist=1,instId = 0x101"));
    reverse(me_class::mbpcd, 0x101, me_class::mbsp, START);
    EXPECT_THAT(log_lines(), Contains("***TRACE***[gpon_flow_me_reverse_get_related_id][0] "
                                      "instExist=1,instId = 0x1"));
    const gpon_me_relation_query nowhere = {me_class::mbsp, 1, me_class::mbpcd, nullptr};
    gpon_flow_me_get_related_id(&packet, &nowhere);
    EXPECT_THAT(log_lines(),
                Contains("***ERROR***[gpon_flow_me_get_related_id][0] input parament is NULL\r"));
}

TEST_F(traced_query, a_level_bit_of_the_packet_enables_other_levels)
{
    three_ports();
    packet.flag_word = LOG_WARNING;
    gponDebugLevel = LOG_WARNING;
    forward(me_class::mbsp, 1, me_class::mbpcd, START);
    EXPECT_THAT(log_lines(), Contains("**WARNING**[gpon_flow_me_get_related_id][0]: Enter"));
}

TEST_F(traced_query, an_unmarked_packet_is_silent)
{
    three_ports();
    packet.flag_word = LOG_TRACE;
    forward(me_class::mbsp, 1, me_class::mbpcd, START);
    reverse(me_class::mbpcd, 0x101, me_class::mbsp, START);
    EXPECT_THAT(log_lines(), IsEmpty());
}

class repeated_result : public relation_query {
protected:
    bool repeats(u16 id, gpon_me_related_id previous)
    {
        result = after(id);
        const gpon::rcu_reader reader;
        return gpon::is_repeated_result({me_class::mbsp, 1, me_class::mbpcd, &result}, previous);
    }
};

TEST_F(repeated_result, is_one_no_later_than_the_previous)
{
    create_bridge(1);
    for (const u16 port : u16s{0x101, 0x102, 0x101, 0x103})
        create_port(port, 1);
    EXPECT_TRUE(repeats(0x101, after(0x101)));
    EXPECT_TRUE(repeats(0x101, after(0x102)));
    EXPECT_FALSE(repeats(0x102, after(0x101)));
    EXPECT_FALSE(repeats(0x103, after(0x102)));
}

TEST_F(repeated_result, is_also_the_previous_one_itself)
{
    EXPECT_TRUE(repeats(0x101, after(0x101)));
    EXPECT_TRUE(repeats(0, after(0)));
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(repeated_result, is_none_when_a_full_array_holds_neither)
{
    create_bridge(1);
    gpon_me_related_info& ports = ports_of(1);
    for (i32 i = 0; i < ports.related_inst_num; ++i)
        ports.related_ids[i] = after(static_cast<u16>(1000 + i));
    EXPECT_FALSE(repeats(0x101, after(0x102)));
    EXPECT_TRUE(repeats(1511, after(0x102)));
    EXPECT_FALSE(repeats(0x101, after(1511)));
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(repeated_result, needs_a_previous_result_and_an_instance)
{
    EXPECT_FALSE(repeats(0x101, after(0x102)));
    three_ports();
    EXPECT_FALSE(repeats(0x101, START));
    EXPECT_FALSE(repeats(0x999, after(0x998)));
    EXPECT_THAT(log_lines(), IsEmpty());
}

} // namespace
