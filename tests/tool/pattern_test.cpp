// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/pattern.h"

#include <gtest/gtest.h>

namespace gponflow {

namespace {

TEST(pattern, match_is_of_the_whole_text)
{
    const pattern digits(R"((\d)(\d+))");
    EXPECT_FALSE(digits.match("12x"));
    EXPECT_FALSE(digits.match("x12"));
    EXPECT_FALSE(digits.match(""));
    const std::optional<pattern_match> found = digits.match("123");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->position, 0u);
    EXPECT_EQ(found->groups, (std::vector<std::string>{"123", "1", "23"}));
}

TEST(pattern, search_finds_the_first_place)
{
    const pattern digits(R"((\d)(\d+))");
    EXPECT_FALSE(digits.search("a1b"));
    const std::optional<pattern_match> found = digits.search("ab12 345");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->position, 2u);
    EXPECT_EQ((*found)[0], "12");
    EXPECT_EQ((*found)[2], "2");
}

TEST(pattern, group_without_a_part_in_the_match_is_empty)
{
    const std::optional<pattern_match> found = pattern("(a)|(b)").match("b");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->groups, (std::vector<std::string>{"b", "", "b"}));
}

TEST(pattern, match_outlives_its_text)
{
    const pattern word(R"((\w+))");
    std::optional<pattern_match> found;
    {
        const std::string text(64, 'x');
        found = word.match(text);
    }
    ASSERT_TRUE(found);
    EXPECT_EQ((*found)[1], std::string(64, 'x'));
}

} // namespace

} // namespace gponflow
