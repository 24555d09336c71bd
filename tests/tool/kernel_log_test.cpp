// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/kernel_log.h"

#include <gtest/gtest.h>

#include "tool/live/soft_onu.h"

namespace {

using gponflow::is_kernel_chatter;
using gponflow::read_log_record;
using gponflow::reported_call;

std::string text_of(std::string_view record)
{
    std::string text = "untouched";
    return read_log_record(record, text) ? text : "not a record";
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

TEST(kernel_log_record, needs_a_semicolon)
{
    EXPECT_EQ(text_of("no record"), "not a record");
    EXPECT_EQ(text_of(""), "not a record");
}

TEST(kernel_chatter, loading_notes_and_stack_dumps_come_from_the_kernel)
{
    for (const char* line :
         {"gpon_flow: loading out-of-tree module taints kernel.",
          "CPU: 1 PID: 95 Comm: gponflow Tainted: G           O       6.1.0-56-arm64 #1",
          "Hardware name: linux,dummy-virt (DT)", "Call trace:", " dump_backtrace+0xe4/0x140",
          " <TASK>", " ? __die+0x20/0x70", "RIP: 0033:0x7f1c", "Call Trace:"})
        EXPECT_TRUE(is_kernel_chatter(line)) << line;
}

TEST(kernel_chatter, lines_of_the_module_are_kept)
{
    for (const char* line :
         {"unknown api_data->api_type: 9", "***ERROR***[mbpcd_forward][92] end, evtocd fail.",
          "| Trace:CLASS(INST)->11(0x101)->47(0x101)|", " total_num = 2", "",
          "Usage:", "    instID | mbpcdInst = 0x0101", "gpon_softonu: @ gpon_mapping_hook = 0"})
        EXPECT_FALSE(is_kernel_chatter(line)) << line;
}

TEST(reported_call, has_no_platform_prefix)
{
    EXPECT_EQ(reported_call("gpon_softonu: @ gpon_queue_mapping_hook gem=1025 = 0"),
              "gpon_queue_mapping_hook gem=1025 = 0");
    EXPECT_FALSE(reported_call("gpon_softonu: uni1 is up"));
}

} // namespace
