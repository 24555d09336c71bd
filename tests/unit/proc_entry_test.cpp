// SPDX-License-Identifier: GPL-2.0-only
// The proc entry: lines, their words, and what a read prints.
#include "tests/support/loaded_module.h"
#include "tests/unit/unreadable_memory.h"

#include "core/proc.h"
#include "include/packet_flow.h"

namespace {

using gpon::test::cliff;
using testing::ElementsAre;
using testing::IsEmpty;

class proc_entry : public loaded_module {
protected:
    static long write(std::string_view line)
    {
        return gpon_flow_proc_write(nullptr, line.data(), line.size());
    }
};

TEST_F(proc_entry, takes_lines_of_at_most_131_bytes)
{
    for (const size_t length : {0u, 1u, 130u, 131u})
        EXPECT_EQ(write(std::string(length, ' ')), static_cast<long>(length));
    log_lines();
    for (const size_t length : {132u, 133u, 4096u})
        EXPECT_EQ(write(std::string(length, ' ')), -22);
    EXPECT_EQ(gpon_flow_proc_write(nullptr, nullptr, ~0ul), -22);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(proc_entry, an_unreadable_line_prints_nothing)
{
    cliff memory;
    const char line[] = "set enable 1";
    EXPECT_EQ(gpon_flow_proc_write(nullptr, static_cast<char*>(memory.place(line, 11)), 12), -14);
    EXPECT_EQ(gpon_flow_proc_write(nullptr, nullptr, 12), -14);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(gponFlowEnableFlag, 0u);
    EXPECT_EQ(gpon_flow_proc_write(nullptr, static_cast<char*>(memory.place(line, 12)), 12), 12);
    EXPECT_EQ(gponFlowEnableFlag, 1u);
}

TEST_F(proc_entry, the_switch_line_comes_before_the_command)
{
    EXPECT_EQ(write("set enable 1"), 12);
    EXPECT_THAT(log_lines(), ElementsAre("CURRENT GPON FLOW SWITCH DISABLE",
                                         "change gpon flow switch from [DISABLE] to [ENABLE]"));
    EXPECT_EQ(write("show en_flag"), 12);
    EXPECT_THAT(log_lines(),
                ElementsAre("CURRENT GPON FLOW SWITCH ENABLE", "gpon flow is [ENABLE]!"));
}

TEST_F(proc_entry, a_line_ends_at_its_first_zero_byte)
{
    const std::string_view line("show\0set enable 1", 17);
    EXPECT_EQ(write(line), 17);
    EXPECT_EQ(gponFlowEnableFlag, 0u);
}

TEST_F(proc_entry, words_beyond_the_fourth_are_dropped)
{
    EXPECT_EQ(write("set trace outer_vlan 5 set enable 1"), 35);
    EXPECT_EQ(trace_cfg.outer_vlan, 5);
    EXPECT_EQ(gponFlowEnableFlag, 0u);
}

TEST_F(proc_entry, blanks_of_every_kind_separate_words)
{
    EXPECT_EQ(write("\t set\n\v\fdebug_level\r2\n"), 22);
    EXPECT_EQ(gponDebugLevel, 2u);
}

TEST_F(proc_entry, a_long_word_is_cut_to_31_characters)
{
    EXPECT_EQ(write("set debug_level " + std::string(30, '0') + "4567"), 50);
    EXPECT_EQ(gponDebugLevel, 4u);
    EXPECT_EQ(write("set debug_level " + std::string(31, '0') + "4567"), 51);
    EXPECT_EQ(gponDebugLevel, 0u);
    EXPECT_EQ(write(std::string(131, 'x')), 131);
}

TEST_F(proc_entry, a_line_without_words_gets_the_usage)
{
    for (const char* line : {"", " ", "\n", "\t \n"}) {
        EXPECT_EQ(write(line), static_cast<long>(std::strlen(line)));
        EXPECT_THAT(log_lines(),
                    testing::IsSupersetOf({"CURRENT GPON FLOW SWITCH DISABLE", "Usage:"}));
    }
}

TEST_F(proc_entry, reading_prints_the_switch_and_returns_no_byte)
{
    EXPECT_EQ(gpon_flow_proc_read(), 0);
    gponFlowEnableFlag = 2;
    EXPECT_EQ(gpon_flow_proc_read(), 0);
    EXPECT_THAT(log_lines(), ElementsAre("GPON FLOW SWITCH DISABLE", "GPON FLOW SWITCH ENABLE"));
}

} // namespace
