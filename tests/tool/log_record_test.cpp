// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/log_record.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tool/live/soft_onu.h"

namespace {

using gponflow::is_other_kernel_line;
using gponflow::log_record;
using gponflow::module_lines;
using gponflow::read_log_record;
using gponflow::reported_call;

std::string text_of(std::string_view record)
{
    const auto read = read_log_record(record);
    return read ? read->text : "not a record";
}

bool continues(std::string_view record)
{
    const auto read = read_log_record(record);
    return read && read->continues;
}

std::vector<std::string> lines_of(const std::vector<log_record>& records)
{
    std::vector<std::string> found;
    const std::function<void(std::string_view)> keep = [&](std::string_view line) {
        found.emplace_back(line);
    };
    module_lines lines(keep);
    for (const log_record& record : records)
        lines.add(record);
    lines.end();
    return found;
}

TEST(kernel_log_record, text_follows_the_semicolon_up_to_the_first_line_end)
{
    EXPECT_EQ(text_of("4,812,90312,-;gpon flow is [ENABLE]!\n SUBSYSTEM=x\n"),
              "gpon flow is [ENABLE]!");
    EXPECT_EQ(text_of("4,812,90312,c,caller=T1;a;b\n"), "a;b");
    EXPECT_EQ(text_of("4,812,90312,-;\n"), "");
}

TEST(kernel_log_record, escapes_of_control_characters_are_undone)
{
    EXPECT_EQ(text_of("4,1,1,-;action error\\x0d\n"), "action error\r");
    EXPECT_EQ(text_of("4,1,1,-;one\\x0atwo\n"), "one\ntwo");
    EXPECT_EQ(text_of("4,1,1,-;\\x5c and \\xzz and \\x4\n"), "\\ and \\xzz and \\x4");
}

TEST(kernel_log_record, the_flag_of_a_continuation_is_the_fourth_field)
{
    EXPECT_TRUE(continues("4,812,90312,c;more\n"));
    EXPECT_TRUE(continues("4,812,90312,c,caller=T1;more\n"));
    EXPECT_FALSE(continues("4,812,90312,-;c\n"));
    EXPECT_FALSE(continues("4,812,90312,-,c;a,b,c,c\n"));
    EXPECT_FALSE(continues("4;c\n"));
}

TEST(kernel_log_record, needs_a_semicolon)
{
    EXPECT_EQ(text_of("no record"), "not a record");
    EXPECT_EQ(text_of(""), "not a record");
}

TEST(other_kernel_line, loading_notes_and_stack_dumps_come_from_the_kernel)
{
    for (const char* line :
         {"gpon_flow: loading out-of-tree module taints kernel.",
          "CPU: 1 PID: 95 Comm: gponflow Tainted: G           O       6.1.0-56-arm64 #1",
          "Hardware name: linux,dummy-virt (DT)", "Call trace:", " dump_backtrace+0xe4/0x140",
          " <TASK>", " ? __die+0x20/0x70", "RIP: 0033:0x7f1c", "Call Trace:"})
        EXPECT_TRUE(is_other_kernel_line(line)) << line;
}

TEST(other_kernel_line, lines_of_other_parts_of_the_kernel_are_recognised)
{
    for (const char* line :
         {"hrtimer: interrupt took 20837776 ns", "clocksource: Long readout interval, skipping",
          "sched: RT throttling activated", "random: crng init done", "br0: port 1(uni1) entered",
          "workqueue: drain_vmap_area_work hogged CPU for >10000us", "Tainted: [O]=OOT_MODULE",
          "rcu: INFO: rcu_preempt self-detected stall on CPU", "IPv6: ADDRCONF(NETDEV_CHANGE)"})
        EXPECT_TRUE(is_other_kernel_line(line)) << line;
}

TEST(other_kernel_line, lines_of_the_module_are_kept)
{
    for (const char* line :
         {"unknown api_data->api_type: 9", "***ERROR***[mbpcd_forward][92] end, evtocd fail.",
          "| Trace:CLASS(INST)->11(0x101)->47(0x101)|", " total_num = 2", "",
          "Usage:", "    instID | mbpcdInst = 0x0101", "gpon_softonu: @ gpon_mapping_hook = 0",
          "gpon_flow_ioctl: Begin, cmd is 0x[7700]\r", "pls input: del hashVal = 1 traceIndex = 2",
          "show flow rule:", "0: a table", "***ERROR***[a]: b", ": ", "dump X(classId = 45): 1"})
        EXPECT_FALSE(is_other_kernel_line(line)) << line;
}

TEST(module_lines, lines_of_the_kernel_between_those_of_the_module_are_left_out)
{
    EXPECT_EQ(lines_of({{"one"}, {"hrtimer: interrupt took 1 ns"}, {"two"}, {"CPU: 1"}}),
              (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(lines_of({{"random: crng init done"}}), std::vector<std::string>());
}

TEST(module_lines, a_line_that_the_kernel_cut_is_joined)
{
    EXPECT_EQ(lines_of({{"0x01 "}, {"hrtimer: interrupt took 1 ns"}, {"0x02 ", true}, {"end"}}),
              (std::vector<std::string>{"0x01 0x02 ", "end"}));
    EXPECT_EQ(lines_of({{"a"}, {"sched: x"}, {"b", true}, {"sched: y"}, {"sched: z"}, {"c", true}}),
              std::vector<std::string>{"abc"});
}

// The module continues a line that is already complete: a line of its own in every log.
TEST(module_lines, a_continuation_after_a_whole_line_is_a_line)
{
    EXPECT_EQ(lines_of({{"one"}, {"two", true}}), (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(lines_of({{"sched: x"}, {"one", true}}), std::vector<std::string>{"one"});
}

TEST(reported_call, has_no_platform_prefix)
{
    EXPECT_EQ(reported_call("gpon_softonu: @ gpon_queue_mapping_hook gem=1025 = 0"),
              "gpon_queue_mapping_hook gem=1025 = 0");
    EXPECT_FALSE(reported_call("gpon_softonu: uni1 is up"));
}

} // namespace
