// SPDX-License-Identifier: GPL-2.0-only
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "debug/words.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The words of a line; an empty list if the result is -1, which has no other cause.
std::vector<std::string> split(const std::string& line)
{
    gpon_dbg_words words = {};
    const i32 count = gpon::split_words(line.c_str(), words);
    std::vector<std::string> found;
    for (u32 i = 0; i <= GPON_DBG_WORDS; ++i) {
        EXPECT_EQ(words.argv[i] != nullptr, static_cast<i32>(i) < count) << "entry " << i;
        if (words.argv[i])
            found.emplace_back(words.argv[i]);
    }
    EXPECT_EQ(count, found.empty() ? -1 : static_cast<i32>(found.size()));
    return found;
}

u32 hex(const char* word, u32 otherwise = 77)
{
    return gpon::scan_hex(word).value_or(otherwise);
}

i32 decimal(const char* word, i32 otherwise = 77)
{
    return gpon::scan_decimal(word).value_or(otherwise);
}

std::vector<u32> mac(const char* word)
{
    const std::array<u32, 6> value = gpon::scan_mac(word);
    return {value.begin(), value.end()};
}

TEST(split_words, separates_at_blanks_of_every_kind)
{
    EXPECT_THAT(split("show en_flag"), ElementsAre("show", "en_flag"));
    EXPECT_THAT(split(" \t\n\v\f\ra\t \nb\r\n"), ElementsAre("a", "b"));
    EXPECT_THAT(split("a\xa0"
                      "b"),
                ElementsAre("a", "b"));
    EXPECT_THAT(split("a\x1f"
                      "b"),
                ElementsAre("a\x1f"
                            "b"));
}

TEST(split_words, returns_four_words_at_most)
{
    EXPECT_THAT(split("1"), ElementsAre("1"));
    EXPECT_THAT(split("1 2 3 4"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(split("1 2 3 4 5 6"), ElementsAre("1", "2", "3", "4"));
}

TEST(split_words, refuses_a_line_without_words)
{
    EXPECT_THAT(split(""), IsEmpty());
    EXPECT_THAT(split(" "), IsEmpty());
    EXPECT_THAT(split(std::string(131, '\t')), IsEmpty());
}

TEST(split_words, cuts_words_to_31_characters)
{
    const std::string longest(31, 'x');
    EXPECT_THAT(split(longest), ElementsAre(longest));
    EXPECT_THAT(split(longest + "y"), ElementsAre(longest));
    EXPECT_THAT(split(longest + "y z"), ElementsAre(longest, "z"));
    EXPECT_THAT(split(std::string(131, 'x')), ElementsAre(longest));
    const std::string wide(60, 'w');
    EXPECT_THAT(split(wide + " " + wide + " " + wide + " " + wide + " " + wide),
                ElementsAre(wide.substr(0, 31), wide.substr(0, 31), wide.substr(0, 31),
                            wide.substr(0, 31)));
}

TEST(split_words, ends_at_a_zero_byte_and_keeps_any_other)
{
    EXPECT_THAT(split(std::string("ab\0cd", 5)), ElementsAre("ab"));
    std::string every;
    for (int c = 1; c < 256; ++c)
        if (c != ' ' && c != 0xa0 && (c < '\t' || c > '\r'))
            every += static_cast<char>(c);
    for (size_t at = 0; at < every.size(); at += 31) {
        const std::string word = every.substr(at, 31);
        EXPECT_THAT(split(word), ElementsAre(word));
    }
}

TEST(hexadecimal_numbers, take_an_optional_prefix)
{
    EXPECT_EQ(hex("0"), 0u);
    EXPECT_EQ(hex("10"), 0x10u);
    EXPECT_EQ(hex("0x10"), 0x10u);
    EXPECT_EQ(hex("0XaBcDeF"), 0xabcdefu);
    EXPECT_EQ(hex("0x"), 0u);
    EXPECT_EQ(hex("0xg"), 0u);
    EXPECT_EQ(hex("0x0x1"), 0u);
    EXPECT_EQ(hex("00x1"), 0u);
}

TEST(hexadecimal_numbers, end_at_the_first_character_that_does_not_fit)
{
    EXPECT_EQ(hex("1g2"), 1u);
    EXPECT_EQ(hex("ff "), 0xffu);
    EXPECT_EQ(hex("12.5"), 0x12u);
    EXPECT_EQ(hex("1-1"), 1u);
}

TEST(hexadecimal_numbers, are_taken_modulo_2_to_the_32)
{
    EXPECT_EQ(hex("ffffffff"), 0xffffffffu);
    EXPECT_EQ(hex("100000000"), 0u);
    EXPECT_EQ(hex("1ffffffffffffffff12345678"), 0x12345678u);
    EXPECT_EQ(hex("0000000000000000000000000000012"), 0x12u);
}

TEST(hexadecimal_numbers, need_a_word_with_a_digit)
{
    for (const char* word : {"", " ", "g", "x10", "-1", "+1", "-", "\xff", "/", ":", "@", "`", "G"})
        EXPECT_FALSE(gpon::scan_hex(word)) << word;
    EXPECT_FALSE(gpon::scan_hex(nullptr));
}

TEST(decimal_numbers, take_an_optional_minus_sign)
{
    EXPECT_EQ(decimal("0"), 0);
    EXPECT_EQ(decimal("100"), 100);
    EXPECT_EQ(decimal("-1"), -1);
    EXPECT_EQ(decimal("-0"), 0);
    EXPECT_EQ(decimal("007"), 7);
    EXPECT_EQ(decimal("0x10"), 0);
    EXPECT_EQ(decimal(" 5"), 5);
}

TEST(decimal_numbers, end_at_the_first_character_that_does_not_fit)
{
    EXPECT_EQ(decimal("12a"), 12);
    EXPECT_EQ(decimal("1 2"), 1);
    EXPECT_EQ(decimal("-3-4"), -3);
}

TEST(decimal_numbers, are_taken_modulo_2_to_the_32)
{
    EXPECT_EQ(decimal("2147483647"), 2147483647);
    EXPECT_EQ(decimal("2147483648"), -2147483647 - 1);
    EXPECT_EQ(decimal("-2147483648"), -2147483647 - 1);
    EXPECT_EQ(decimal("-2147483649"), 2147483647);
    EXPECT_EQ(decimal("4294967295"), -1);
    EXPECT_EQ(decimal("4294967296"), 0);
    EXPECT_EQ(decimal("4294967306"), 10);
    EXPECT_EQ(decimal("18446744073709551621"), 5);
}

TEST(decimal_numbers, need_a_word_with_a_digit)
{
    for (const char* word : {"", " ", "a", "-", "--1", "- 1", "+1", "/", ":", "\xb2"})
        EXPECT_FALSE(gpon::scan_decimal(word)) << word;
    EXPECT_FALSE(gpon::scan_decimal(nullptr));
}

TEST(mac_addresses, have_six_parts_of_one_or_two_digits)
{
    EXPECT_THAT(mac("00:11:22:aA:Bb:ff"), ElementsAre(0, 0x11, 0x22, 0xaa, 0xbb, 0xff));
    EXPECT_THAT(mac("1:2:3:4:5:6"), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(mac("1:2:3:4:5:6:7"), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(mac("1:2:3:4:5:678"), ElementsAre(1, 2, 3, 4, 5, 0x67));
    EXPECT_THAT(mac("0x:2:3:4:5:6"), ElementsAre(0, 2, 3, 4, 5, 6));
    EXPECT_THAT(mac("0x1:2:3:4:5:6"), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(mac_addresses, may_be_cut_anywhere_and_have_0_for_the_missing_bytes)
{
    const std::string whole = "11:22:33:44:55:66";
    const u32 parts[] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
    for (size_t length = 0; length <= whole.size(); ++length) {
        std::vector<u32> wanted(6);
        for (size_t i = 0; i < 6 && 3 * i < length; ++i)
            wanted[i] = length == 3 * i + 1 ? parts[i] >> 4 : parts[i];
        EXPECT_EQ(mac(whole.substr(0, length).c_str()), wanted) << length << " characters";
    }
    EXPECT_THAT(mac(nullptr), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(mac_addresses, end_at_the_first_character_that_does_not_fit)
{
    EXPECT_THAT(mac("11-22"), ElementsAre(0x11, 0, 0, 0, 0, 0));
    EXPECT_THAT(mac("11:zz:33"), ElementsAre(0x11, 0, 0, 0, 0, 0));
    EXPECT_THAT(mac("11:2z:33"), ElementsAre(0x11, 2, 0, 0, 0, 0));
    EXPECT_THAT(mac("111:22"), ElementsAre(0x11, 0, 0, 0, 0, 0));
    EXPECT_THAT(mac(":11"), ElementsAre(0, 0, 0, 0, 0, 0));
    EXPECT_THAT(mac("-1:11"), ElementsAre(0, 0, 0, 0, 0, 0));
}

} // namespace
