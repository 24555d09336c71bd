// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/mask_lines.h"

#include <gtest/gtest.h>

namespace gponflow {
namespace {

void expect_masked(std::string_view line, std::string_view masked)
{
    EXPECT_EQ(mask_line_numbers(line), masked);
}

void expect_untouched(std::string_view line)
{
    EXPECT_EQ(mask_line_numbers(line), line);
}

TEST(mask_lines, replaces_the_number_in_every_shape_of_prefix)
{
    expect_masked("[gpon_hash_init][123]: Enter", "[gpon_hash_init][0]: Enter");
    expect_masked("[gpon_hash_init][123] end", "[gpon_hash_init][0] end");
    expect_masked("[gpon_hash_init][123]the classId(5)", "[gpon_hash_init][0]the classId(5)");
    expect_masked("[mbpcd_forward] [77]: i=3", "[mbpcd_forward] [0]: i=3");
    expect_masked("Enter [gpon_flow_me_handle][9] ", "Enter [gpon_flow_me_handle][0] ");
    expect_masked("pq_forward [45]: Parameter is NULL: Fail\r",
                  "pq_forward [0]: Parameter is NULL: Fail\r");
    expect_masked("[f][1]", "[f][0]");
}

TEST(mask_lines, replaces_the_number_after_a_level_tag)
{
    expect_masked("***ERROR***[f][12] end", "***ERROR***[f][0] end");
    expect_masked("**WARNING**f [12]: x", "**WARNING**f [0]: x");
    expect_masked("***TRACE***Enter [f][12] ", "***TRACE***Enter [f][0] ");
}

TEST(mask_lines, replaces_the_number_of_each_message_of_a_line)
{
    expect_masked("***TRACE***[f][12] no line feed***ERROR***[g][13]x",
                  "***TRACE***[f][0] no line feed***ERROR***[g][0]x");
    expect_masked("->130(0x1)***ERROR***[g][13]x", "->130(0x1)***ERROR***[g][0]x");
}

TEST(mask_lines, numbers_of_the_message_itself_stay)
{
    expect_masked("[f][12] end, classId=[45][46]", "[f][0] end, classId=[45][46]");
    expect_untouched("del classId = 45 instance [0001]");
    expect_untouched("instance [0001]");
    expect_untouched("change gpon flow switch from [ENABLE] to [DISABLE]");
    expect_untouched("Enter gpon_flow_init_me_map classId=600 greater 512");
    expect_untouched("x [f][12] not at the start");
    expect_untouched("Enter f [12]: x");
    expect_untouched("**WARNING** [f][12] a blank first");
}

TEST(mask_lines, only_a_function_name_and_a_decimal_number_make_a_prefix)
{
    expect_untouched("[Function][12] x");
    expect_untouched("[1f][12] x");
    expect_untouched("[][12] x");
    expect_untouched("[f g][12] x");
    expect_untouched("[f][] x");
    expect_untouched("[f][12");
    expect_untouched("[f][1a] x");
    expect_untouched("[f][0x12] x");
    expect_untouched("[f]  [12] x");
    expect_untouched("f [12] x");
    expect_untouched("f[12]: x");
    expect_untouched("");
    expect_untouched("***ERROR***");
    expect_untouched("Enter [");
}

TEST(mask_lines, a_prefix_of_any_digits_becomes_one_zero)
{
    expect_masked("[f][0]", "[f][0]");
    expect_masked("[f][00000000000000000000000000001]x", "[f][0]x");
}

} // namespace
} // namespace gponflow
