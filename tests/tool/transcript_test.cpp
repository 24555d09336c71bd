// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/transcript.h"

#include <sstream>

#include <gtest/gtest.h>

namespace gponflow {
namespace {

class transcript_of : public testing::Test {
protected:
    std::ostringstream out;
    transcript plain{out, false};
    transcript masked{out, true};
};

TEST_F(transcript_of, marks_each_kind_of_line)
{
    plain.command("me set 45 1");
    plain.log("a\n");
    plain.call("del_timer");
    plain.result("me 0");
    plain.failed_expectation("ret=1", "0");
    plain.echo("plain text");
    EXPECT_EQ(out.str(), "> me set 45 1\n| a\n@ del_timer\n= me 0\n! expected ret=1, got 0\n"
                         "plain text\n");
}

TEST_F(transcript_of, joins_prints_up_to_the_line_feed)
{
    plain.log("***ERROR***");
    plain.log("[f][1] x\r\nsecond ");
    plain.log("line\n\nthird\n");
    EXPECT_EQ(out.str(), "| ***ERROR***[f][1] x\\r\n| second line\n| \n| third\n");
}

TEST_F(transcript_of, ends_open_log_text_before_any_other_line)
{
    plain.log("one");
    plain.command("c");
    plain.log("two");
    plain.call("p");
    plain.log("three");
    plain.result("r");
    plain.log("four");
    plain.flush();
    plain.log("five");
    plain.echo("e");
    EXPECT_EQ(out.str(), "| one\n> c\n| two\n@ p\n| three\n= r\n| four\n| five\ne\n");
}

TEST_F(transcript_of, an_empty_print_is_no_line)
{
    plain.log("");
    plain.result("r");
    EXPECT_EQ(out.str(), "= r\n");
}

TEST_F(transcript_of, escapes_unprintable_bytes)
{
    plain.log("\a\b\t\v\f\r\x1b\x7f\xc3\xa9 \\ \"\n");
    plain.call("panic a\nb");
    EXPECT_EQ(out.str(), "| \\a\\b\\t\\v\\f\\r\\x1b\\x7f\\xc3\\xa9 \\ \"\n@ panic a\\nb\n");
}

TEST_F(transcript_of, masks_line_numbers_of_joined_text_only_when_asked)
{
    plain.log("***ERROR***");
    plain.log("[f][12] x\n");
    masked.log("***ERROR***");
    masked.log("[f][12] x\n");
    masked.call("panic Register hook function failed! f:360");
    masked.echo("[f][12]");
    EXPECT_EQ(out.str(), "| ***ERROR***[f][12] x\n| ***ERROR***[f][0] x\n"
                         "@ panic Register hook function failed! f:360\n[f][12]\n");
}

} // namespace
} // namespace gponflow
