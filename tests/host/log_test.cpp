// SPDX-License-Identifier: GPL-2.0-only
#include "tests/host/fake_module.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class log : public host_test {};

TEST_F(log, every_print_is_an_event_of_its_own_exactly_as_it_came)
{
    printk("***TRACE***");
    pr_cont("[%s][%d]: Enter\n", "somebody", 12);
    printk("two\nlines\r\n");
    EXPECT_THAT(events,
                ElementsAre("| ***TRACE***", "| [somebody][12]: Enter\n", "| two\nlines\r\n"));
}

TEST_F(log, returns_the_length_of_the_text)
{
    EXPECT_EQ(printk("%s", "abc"), 3);
    EXPECT_EQ(pr_cont("%d\n", 12), 3);
}

TEST_F(log, drops_level_prefixes)
{
    printk("\001"
           "3error");
    printk("\001"
           "c"
           "\001"
           "7debug");
    pr_cont("\001"
            "cgoes on");
    printk("%s", "\001"
                 "4from an argument");
    EXPECT_THAT(events, ElementsAre("| error", "| debug", "| goes on", "| from an argument"));
}

TEST_F(log, keeps_text_that_resembles_a_level_prefix)
{
    printk("\001");
    printk("\001"
           "8");
    printk("a\001"
           "3");
    EXPECT_THAT(events, ElementsAre("| \001",
                                    "| \001"
                                    "8",
                                    "| a\001"
                                    "3"));
}

TEST_F(log, without_a_sink_nothing_is_recorded)
{
    gpon::host::set_sink(nullptr);
    EXPECT_EQ(printk("text"), 0);
    dump_stack();
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(log, dump_stack_is_a_call_event)
{
    dump_stack();
    EXPECT_THAT(events, ElementsAre("@ dump_stack"));
}

} // namespace
