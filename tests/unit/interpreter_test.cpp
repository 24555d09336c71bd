// SPDX-License-Identifier: GPL-2.0-only
#include <cstring>

#include "tests/unit/store_access.h"

#include "debug/interpreter.h"
#include "hash/crc32.h"
#include "hash/rule_table.h"
#include "me_class/classes.h"

namespace {

using gpon::test::create_bridge;
using gpon::test::create_port;
using gpon::test::ids_of;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char HELP[] = "Show gpon flow module debug usage.";

struct row {
    const char* name;
    u32 arguments;
    const char* help;
};

const std::vector<row> TOP_WORDS = {{"set", 1, "gpon flow module set action"},
                                    {"show", 1, "gpon flow module show action"},
                                    {"clean", 1, "gpon flow module clean action"},
                                    {"help", 0, HELP}};
const std::vector<row> SET_WORDS = {{"enable", 1, "Set gpon flow enable"},
                                    {"debug_level", 1, "Set gpon flow debug level"},
                                    {"trace", 1, "Set trace cfg"},
                                    {"help", 0, HELP}};
const std::vector<row> SHOW_WORDS = {
    {"en_flag", 0, "Show gpon flow enable flag"},
    {"raw_data", 0,
     "show raw data;no arg dump all;one arg classID(%d),dump this class all; arg1 "
     "classID(%d),arg2 instID(%x),dump one inst info"},
    {"flow_rule", 0, "show flow rule"},
    {"help", 0, HELP}};
const std::vector<row> CLEAN_WORDS = {
    {"raw_data", 0,
     "clean raw data;no arg clean all; arg1 classID(%d),arg2 instID(%x),clean one inst info"},
    {"flow_rule", 2, "clean flow rule skbIndex TraceIndex, 0 means all"},
    {"help", 0, HELP}};
const std::vector<row> TRACE = {{"dst_mac", 1, "Set trace dst mac, xx:xx:xx:xx:xx:xx"},
                                {"src_mac", 1, "Set trace src mac, xx:xx:xx:xx:xx:xx"},
                                {"outer_vlan", 1, "Set trace outer vlan"},
                                {"inner_vlan", 1, "Set trace inner vlan"},
                                {"disable", 0, "Set trace disable, clear trace info"},
                                {"help", 0, HELP}};

std::vector<std::string> usage_of(const std::vector<row>& table)
{
    std::vector<std::string> lines = {"Usage:"};
    for (const row& r : table)
        lines.push_back(std::string(" ") + r.name + ": " + r.help);
    return lines;
}

class interpreter : public loaded_module {
protected:
    // Any number of words; absent ones are null, as behind the last word of a line.
    std::vector<std::string> run(std::vector<const char*> words)
    {
        log_lines();
        const u32 count = static_cast<u32>(words.size());
        words.insert(words.end(), 2, nullptr);
        EXPECT_EQ(gpon_dbg_parsing_cmd(count, words.data()), 0u);
        return log_lines();
    }
    static void learn(u8 id)
    {
        u8 key[16] = {id};
        const gpon_rule_trace trace = {};
        EXPECT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &trace), 0);
    }
};

TEST_F(interpreter, tables_have_their_rows_in_order_and_an_empty_one_at_the_end)
{
    const std::pair<const gpon_dbg_cmd*, const std::vector<row>*> tables[] = {
        {gpon_dbg_cmd_table, &TOP_WORDS},   {gpon_dbg_set_table, &SET_WORDS},
        {gpon_dbg_show_table, &SHOW_WORDS}, {gpon_dbg_clean_table, &CLEAN_WORDS},
        {gpon_dbg_trace_table, &TRACE},
    };
    for (const auto& [table, rows] : tables) {
        for (size_t i = 0; i < rows->size(); ++i) {
            EXPECT_STREQ(table[i].name, rows->at(i).name);
            EXPECT_EQ(table[i].arg_num, rows->at(i).arguments) << table[i].name;
            EXPECT_STREQ(table[i].help, rows->at(i).help);
            EXPECT_NE(table[i].handler, nullptr);
        }
        const gpon_dbg_cmd& end = table[rows->size()];
        EXPECT_EQ(end.name, nullptr);
        EXPECT_EQ(end.handler, nullptr);
        EXPECT_EQ(end.arg_num, 0u);
        EXPECT_EQ(end.help, nullptr);
    }
}

TEST_F(interpreter, lists_a_table_for_help_no_word_and_unknown_words)
{
    for (const char* word : {"help", "x", "sets", "Set", "-"}) {
        EXPECT_THAT(run({word}), ElementsAreArray(usage_of(TOP_WORDS))) << word;
        EXPECT_THAT(run({"set", word}), ElementsAreArray(usage_of(SET_WORDS))) << word;
        EXPECT_THAT(run({"show", word}), ElementsAreArray(usage_of(SHOW_WORDS))) << word;
        EXPECT_THAT(run({"clean", word}), ElementsAreArray(usage_of(CLEAN_WORDS))) << word;
        EXPECT_THAT(run({"set", "trace", word}), ElementsAreArray(usage_of(TRACE))) << word;
    }
    EXPECT_THAT(run({}), ElementsAreArray(usage_of(TOP_WORDS)));
    EXPECT_THAT(run({"set"}), ElementsAreArray(usage_of(SET_WORDS)));
    EXPECT_THAT(run({"show"}), ElementsAreArray(usage_of(SHOW_WORDS)));
    EXPECT_THAT(run({"clean"}), ElementsAreArray(usage_of(CLEAN_WORDS)));
    EXPECT_THAT(run({"set", "trace"}), ElementsAreArray(usage_of(TRACE)));
}

TEST_F(interpreter, a_count_of_minus_1_without_words_lists_the_first_table)
{
    const char* const none[2] = {};
    EXPECT_EQ(gpon_dbg_parsing_cmd(static_cast<u32>(-1), none), 0u);
    EXPECT_THAT(log_lines(), ElementsAreArray(usage_of(TOP_WORDS)));
}

TEST_F(interpreter, ignores_the_count_of_words)
{
    const char* const words[] = {"show", "en_flag", nullptr};
    EXPECT_EQ(gpon_dbg_parsing_cmd(0, words), 0u);
    EXPECT_THAT(log_lines(), ElementsAre("gpon flow is [DISABLE]!"));
}

// The first handler that a dispatch reaches, and what it was given.
struct {
    u32 argc;
    const char* const* argv;
    const gpon_dbg_cmd* table;
    int which;
} reached;

template <int Which> u32 note(u32 argc, const char* const* argv, const gpon_dbg_cmd* table)
{
    reached = {argc, argv, table, Which};
    return 40 + Which;
}

constexpr gpon_dbg_cmd OWN[] = {
    {"alpha", note<1>, 0, "A"}, {"alps", note<2>, 9, "B"}, {"beta", note<3>, 0, "C"}, {}};

TEST_F(interpreter, dispatch_calls_the_first_row_that_begins_with_the_word)
{
    const std::pair<const char*, int> words[] = {{"", 1},     {"a", 1},    {"al", 1},
                                                 {"alp", 1},  {"alph", 1}, {"alpha", 1},
                                                 {"alps", 2}, {"b", 3},    {"beta", 3}};
    for (const auto& [word, which] : words) {
        reached = {};
        const char* const argv[] = {word, "more", nullptr};
        EXPECT_EQ(gpon_dbg_dispatch(OWN, 2, argv, gpon_dbg_set_table),
                  40u + static_cast<u32>(which))
            << word;
        EXPECT_EQ(reached.which, which) << word;
        EXPECT_EQ(reached.argc, 1u);
        EXPECT_EQ(reached.argv, argv + 1);
        EXPECT_EQ(reached.table, gpon_dbg_set_table);
    }
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(interpreter, dispatch_without_match_lists_its_table)
{
    reached = {};
    for (const char* word : {"alphabet", "c", "Alpha", " alpha", (const char*)nullptr}) {
        const char* const argv[] = {word, nullptr};
        EXPECT_EQ(gpon_dbg_dispatch(OWN, 1, argv, gpon_dbg_set_table), 0u);
        EXPECT_THAT(log_lines(), ElementsAre("Usage:", " alpha: A", " alps: B", " beta: C"));
    }
    EXPECT_EQ(reached.which, 0);
}

TEST_F(interpreter, dispatch_of_an_empty_table_lists_nothing)
{
    constexpr gpon_dbg_cmd empty[] = {{}};
    const char* const argv[] = {"", nullptr};
    EXPECT_EQ(gpon_dbg_dispatch(empty, 1, argv, OWN), 0u);
    EXPECT_THAT(log_lines(), ElementsAre("Usage:"));
}

TEST_F(interpreter, set_enable_keeps_the_number)
{
    EXPECT_THAT(run({"set", "enable", "2"}),
                ElementsAre("change gpon flow switch from [DISABLE] to [ENABLE]"));
    EXPECT_EQ(gponFlowEnableFlag, 2u);
    EXPECT_THAT(run({"show", "en_flag"}), ElementsAre("gpon flow is [ENABLE]!"));
    run({"set", "enable", "0xFFFFFFFF"});
    EXPECT_EQ(gponFlowEnableFlag, 0xffffffffu);
    EXPECT_THAT(run({"set", "enable"}),
                ElementsAre("change gpon flow switch from [ENABLE] to [DISABLE]"));
    EXPECT_EQ(gponFlowEnableFlag, 0u);
    run({"set", "enable", "10"});
    EXPECT_EQ(gponFlowEnableFlag, 0x10u);
    run({"set", "enable", "off"});
    EXPECT_EQ(gponFlowEnableFlag, 0u);
}

TEST_F(interpreter, set_debug_level_is_hexadecimal)
{
    EXPECT_THAT(run({"set", "debug_level", "10"}), ElementsAre("set gpon flow debug level 0x10"));
    EXPECT_EQ(gponDebugLevel, 0x10u);
    EXPECT_THAT(run({"set", "debug_level", "4"}), ElementsAre("set gpon flow debug level 0x4"));
    EXPECT_EQ(gponDebugLevel, 4u);
    EXPECT_THAT(run({"set", "debug_level"}), ElementsAre("set gpon flow debug level 0x0"));
    EXPECT_EQ(gponDebugLevel, 0u);
    run({"set", "debug_level", "7"});
    run({"set", "debug_level", "-7"});
    EXPECT_EQ(gponDebugLevel, 0u);
}

TEST_F(interpreter, set_trace_stores_the_field_and_adds_its_bit)
{
    run({"set", "trace", "outer_vlan", "70000"});
    EXPECT_EQ(trace_cfg.outer_vlan, 70000 - 65536);
    EXPECT_EQ(trace_cfg.valid_mask, 0x4);
    run({"set", "trace", "dst_mac", "01:02:03:04:05:06"});
    EXPECT_THAT(trace_cfg.dst_mac, ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_EQ(trace_cfg.valid_mask, 0x5);
    run({"set", "trace", "inner_vlan", "-1"});
    EXPECT_EQ(trace_cfg.inner_vlan, 0xffff);
    EXPECT_EQ(trace_cfg.valid_mask, 0xd);
    run({"set", "trace", "src_mac", "ff:ee:dd:cc:bb:aa"});
    EXPECT_THAT(trace_cfg.src_mac, ElementsAre(0xff, 0xee, 0xdd, 0xcc, 0xbb, 0xaa));
    EXPECT_EQ(trace_cfg.valid_mask, 0xf);
    run({"set", "trace", "dst_mac", "9"});
    EXPECT_THAT(trace_cfg.dst_mac, ElementsAre(9, 0, 0, 0, 0, 0));
    EXPECT_THAT(trace_cfg.src_mac, ElementsAre(0xff, 0xee, 0xdd, 0xcc, 0xbb, 0xaa));
    EXPECT_EQ(trace_cfg.valid_mask, 0xf);
    EXPECT_THAT(run({"set", "trace", "disable"}), ElementsAre("set trace disable, valid mask = 0"));
    const gpon_trace_cfg off = {};
    EXPECT_EQ(std::memcmp(&trace_cfg, &off, sizeof(off)), 0);
}

TEST_F(interpreter, set_trace_without_a_value_sets_zero)
{
    trace_cfg = {{1, 1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1}, 1, 1, 0};
    EXPECT_THAT(run({"set", "trace", "dst_mac"}),
                ElementsAre("set trace dst mac 00:00:00:00:00:00"));
    EXPECT_THAT(run({"set", "trace", "src_mac"}),
                ElementsAre("set trace src mac 00:00:00:00:00:00"));
    EXPECT_THAT(run({"set", "trace", "outer_vlan"}), ElementsAre("set trace outer vlan 0"));
    EXPECT_THAT(run({"set", "trace", "inner_vlan"}), ElementsAre("set trace inner vlan 0"));
    const gpon_trace_cfg zeros = {{}, {}, 0, 0, 0xf};
    EXPECT_EQ(std::memcmp(&trace_cfg, &zeros, sizeof(zeros)), 0);
}

TEST_F(interpreter, show_raw_data_takes_no_class_a_class_or_a_class_and_an_instance)
{
    create_bridge(1);
    create_bridge(0x10);
    const std::vector<std::string> all = run({"show", "raw_data"});
    ASSERT_GT(all.size(), 15u);
    EXPECT_EQ(all[0], "show All ME Raw Data:");
    EXPECT_EQ(all[1], "dump PPTP_ETHERNET_UNI(classId = 11):");
    EXPECT_EQ(run({"show", "raw_data", "45"}).size(), 9u);
    EXPECT_EQ(run({"show", "raw_data", "45", "10"}).size(), 6u);
    EXPECT_EQ(run({"show", "raw_data", "45", "16"}).size(), 1u);
}

TEST_F(interpreter, show_raw_data_with_more_words_shows_nothing)
{
    create_bridge(1);
    gponDebugLevel = LOG_ERROR | LOG_WARNING | LOG_TRACE;
    EXPECT_THAT(run({"show", "raw_data", "45", "1", "1"}), IsEmpty());
    EXPECT_THAT(run({"show", "raw_data", "300", "1", "1", "1"}), IsEmpty());
}

TEST_F(interpreter, show_raw_data_of_an_unknown_class_is_an_error)
{
    EXPECT_THAT(run({"show", "raw_data", "300"}), IsEmpty());
    gponDebugLevel = LOG_ERROR;
    const char* const line =
        "***ERROR***[gpon_dbg_dump_me_inst][0]the classId(300) can not get the entry.";
    EXPECT_THAT(run({"show", "raw_data", "300"}), ElementsAre(line));
    EXPECT_THAT(run({"show", "raw_data", "300", "1"}), ElementsAre(line));
}

TEST_F(interpreter, clean_raw_data_without_a_class_empties_every_list)
{
    create_bridge(1);
    create_port(0x101, 1, 1, 0x101);
    EXPECT_THAT(run({"clean", "raw_data"}), ElementsAre("del All ME Raw Data:"));
    for (u16 i = 1; i < GPON_ME_ROWS; ++i)
        EXPECT_THAT(ids_of(*me_table[i].list_info->head), IsEmpty()) << me_table[i].name;
}

TEST_F(interpreter, clean_raw_data_with_a_class_alone_asks_for_the_instance)
{
    create_bridge(1);
    create_bridge(0xffff);
    EXPECT_THAT(run({"clean", "raw_data", "45"}),
                ElementsAre("del classId = 45, please input delete instId(hex)"));
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1, 0xffff));
}

TEST_F(interpreter, clean_raw_data_deletes_one_instance)
{
    create_bridge(1);
    create_bridge(0x10);
    EXPECT_THAT(run({"clean", "raw_data", "45", "10"}),
                ElementsAre("del classId = 45 instance [0010]"));
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1));
    EXPECT_THAT(run({"clean", "raw_data", "45", "12340001"}),
                ElementsAre("del classId = 45 instance [12340001]"));
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
}

TEST_F(interpreter, clean_raw_data_keeps_the_links_of_deleted_instances)
{
    create_bridge(1);
    create_port(0x101, 1);
    gponDebugLevel = LOG_ERROR;
    EXPECT_THAT(run({"clean", "raw_data", "47", "101"}),
                ElementsAre("del classId = 47 instance [0101]",
                            "***ERROR***[gpon_flow_list_update_related_id][0] action error\r",
                            "***ERROR***[gpon_flow_list_delete_inst][0] Delete inst Success\r"));
    EXPECT_THAT(gpon::test::recorded(me_class::mbsp, 1, me_class::mbpcd), ElementsAre(0x101));
}

TEST_F(interpreter, clean_raw_data_runs_the_handler_of_every_attribute)
{
    gpon_raw_mapper raw = {};
    raw.instID = 1;
    for (u16 priority = 0; priority < 8; ++priority) {
        const gpon_raw_gemiw gem_iw = {.instID = static_cast<u16>(0x11 + priority),
                                       .gemCTPInstID = 0};
        ASSERT_EQ(
            gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, gem_iw.instID, &gem_iw), 0);
        raw.pbit_GemIWTP[priority] = gem_iw.instID;
    }
    ASSERT_EQ(gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mapper, 1, &raw), 0);
    gponDebugLevel = LOG_ERROR;
    const std::vector<std::string> lines = run({"clean", "raw_data", "130", "1"});
    const std::string error = "***ERROR***[gpon_flow_list_update_related_id][0] action error\r";
    // One for each priority.
    EXPECT_EQ(std::count(lines.begin(), lines.end(), error), 8);
}

TEST_F(interpreter, clean_raw_data_with_more_words_takes_the_defaults)
{
    create_bridge(0xffff);
    gponDebugLevel = LOG_ERROR;
    EXPECT_THAT(run({"clean", "raw_data", "45", "ffff", "1"}),
                ElementsAre("del classId = 0 instance [ffffffff]",
                            "***ERROR***[gpon_flow_me_general_delete][0]Parameter is Null."));
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(0xffff));
}

TEST_F(interpreter, clean_raw_data_takes_the_low_half_of_a_class_id)
{
    create_bridge(1);
    EXPECT_THAT(run({"clean", "raw_data", "65581", "1"}),
                ElementsAre("del classId = 65581 instance [0001]"));
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
}

TEST_F(interpreter, clean_raw_data_without_memory_deletes_nothing)
{
    create_bridge(1);
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_THAT(run({"clean", "raw_data", "45", "1"}),
                ElementsAre("del classId = 45 instance [0001]"));
    EXPECT_TRUE(gpon::host::fault_fired(gpon::host::fault::alloc));
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1));
    run({"clean", "raw_data", "45", "1"});
    EXPECT_THAT(ids_of(gpon_mbsp_list), IsEmpty());
}

TEST_F(interpreter, clean_flow_rule_needs_exactly_two_words)
{
    learn(1);
    const char* const hint = "please input: del hashVal = 0 traceIndex = 0";
    EXPECT_THAT(run({"clean", "flow_rule"}), ElementsAre(hint));
    EXPECT_THAT(run({"clean", "flow_rule", "5"}), ElementsAre(hint));
    EXPECT_THAT(run({"clean", "flow_rule", "0"}), ElementsAre(hint));
    EXPECT_THAT(run({"clean", "flow_rule", "0", "0", "0"}), ElementsAre(hint));
    EXPECT_EQ(gpon_hash_table_record.total_num, 1u);
}

TEST_F(interpreter, clean_flow_rule_0_cleans_all_whatever_the_index)
{
    for (const char* index : {"0", "7", "x"}) {
        learn(1);
        learn(2);
        EXPECT_THAT(
            run({"clean", "flow_rule", "0", index}),
            ElementsAre(std::string("del hashVal = 0 traceIndex = ") + (*index == '7' ? "7" : "0"),
                        "del All Flow Rule Data:"));
        EXPECT_EQ(gpon_hash_table_record.total_num, 0u);
    }
}

TEST_F(interpreter, clean_flow_rule_empties_the_bucket_of_a_hash_value)
{
    learn(1);
    const u8 key[16] = {1};
    const i32 hash = static_cast<i32>(gpon_hash_calc_key(key, sizeof(key)));
    const std::string word = std::to_string(hash);
    EXPECT_THAT(run({"clean", "flow_rule", word.c_str(), "1"}),
                ElementsAre("del hashVal = " + word + " traceIndex = 1"));
    EXPECT_EQ(gpon_hash_table_record.total_num, 1u);
    EXPECT_THAT(run({"clean", "flow_rule", word.c_str(), "65536"}),
                ElementsAre("del hashVal = " + word + " traceIndex = 65536"));
    EXPECT_EQ(gpon_hash_table_record.total_num, 0u) << "an index has 16 bits";
    EXPECT_THAT(run({"clean", "flow_rule", word.c_str(), "0"}),
                ElementsAre("del hashVal = " + word + " traceIndex = 0"));
}

TEST_F(interpreter, commands_return_with_any_failed_allocation)
{
    const std::vector<std::vector<const char*>> commands = {
        {"set", "enable", "1"},
        {"set", "trace", "dst_mac", "1:2"},
        {"show", "raw_data"},
        {"show", "flow_rule"},
        {"clean", "raw_data", "47", "101"},
        {"clean", "flow_rule", "0", "0"},
        {"clean", "raw_data"},
    };
    for (const std::vector<const char*>& command : commands) {
        bool fired = true;
        for (uint64_t n = 1; fired; ++n) {
            ASSERT_EQ(create_bridge(1), 0);
            ASSERT_EQ(create_port(0x101, 1, 1, 0x101), 0);
            gpon::host::arm_fault(gpon::host::fault::alloc, n);
            run(command);
            fired = gpon::host::fault_fired(gpon::host::fault::alloc);
            gpon::host::disarm_faults();
            EXPECT_THAT(run({"show", "raw_data", "78"}),
                        ElementsAre("dump VLAN_TAG_OPERATE(classId = 78):"));
            run({"clean", "raw_data"});
            ids_of(gpon_mbsp_list);
        }
    }
}

} // namespace
