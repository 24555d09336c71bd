// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/filter_words.h"

#include <gtest/gtest.h>

using namespace gponflow;

namespace {

gpon_raw_vtfd filter_of(uint8_t operation, uint8_t entries)
{
    gpon_raw_vtfd filter{};
    filter.vlanFilterList[0] = 100;
    filter.vlanFilterList[1] = 200;
    filter.forwardOperation = operation;
    filter.vlanFilterNums = entries;
    return filter;
}

TEST(filter_words, an_operation_that_is_not_defined_drops_every_frame)
{
    const std::string words = "has no defined operation and drops every frame";
    EXPECT_EQ(refusal_words(filter_of(0x40, 1), 300), words);
    EXPECT_EQ(refusal_words(filter_of(0x40, 1), std::nullopt), words);
}

TEST(filter_words, entries_behind_the_list_are_compared_too)
{
    gpon_raw_vtfd filter = filter_of(0x10, 2);
    EXPECT_EQ(refusal_words(filter, 300), "passes only VLAN 100, VLAN 200");
    filter.vlanFilterNums = 13;
    const std::string words = refusal_words(filter, 300);
    EXPECT_EQ(words.find("passes only VLAN 100, VLAN 200, VLAN 0, VLAN "), 0u) << words;
    EXPECT_GT(words.size(), std::string("passes only VLAN 100, VLAN 200, VLAN 0").size());
}

TEST(filter_words, each_kind_of_comparison_has_its_words)
{
    EXPECT_EQ(refusal_words(filter_of(0x03, 1), 300), "passes only VLAN 100");
    EXPECT_EQ(refusal_words(filter_of(0x05, 1), 100), "drops VLAN 100");
    EXPECT_EQ(refusal_words(filter_of(0x07, 1), 0x2000 | 300), "passes only priority 0");
    EXPECT_EQ(refusal_words(filter_of(0x0b, 1), 300), "passes only VLAN 100 priority 0");
    EXPECT_EQ(refusal_words(filter_of(0x01, 1), 300), "drops tagged frames");
    EXPECT_EQ(refusal_words(filter_of(0x10, 0), 300),
              "has an empty list and passes no tagged frame");
}

} // namespace
