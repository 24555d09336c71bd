// SPDX-License-Identifier: GPL-2.0-only
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tool/scenario/capture_words.h"

namespace gponflow {

namespace {

pcap_command only_capture(const std::string& word)
{
    scenario input;
    std::ostringstream diagnostics;
    append_captures({word}, input, diagnostics);
    EXPECT_EQ(diagnostics.str(), "");
    EXPECT_FALSE(input.incomplete);
    return input.lines.size() == 1 ? std::get<pcap_command>(input.lines[0].command)
                                   : pcap_command{};
}

std::string complaint_about(const std::string& word)
{
    try {
        scenario input;
        std::ostringstream diagnostics;
        append_captures({word}, input, diagnostics);
    } catch (const std::runtime_error& why) {
        return why.what();
    }
    return "";
}

TEST(append_captures, takes_options_behind_commas)
{
    const pcap_command one = only_capture("captures/upstream-uni2.pcap,kind=up_uni,port=2");
    EXPECT_EQ(one.file, "captures/upstream-uni2.pcap");
    EXPECT_EQ(one.options.kind, 0u);
    EXPECT_EQ(one.options.port_word, 0x20u);
    EXPECT_EQ(one.frames.size(), 62u);
}

TEST(append_captures, frames_leave_towards_the_ani_without_a_kind)
{
    const pcap_command one = only_capture("captures/upstream-uni2.pcap,gem=7");
    EXPECT_EQ(one.options.kind, 1u);
    EXPECT_EQ(one.options.gem, 7u);
    EXPECT_FALSE(one.whole_path);
}

TEST(append_captures, frames_without_options_take_the_whole_path)
{
    EXPECT_TRUE(only_capture("captures/upstream-uni2.pcap").whole_path);
}

TEST(append_captures, a_name_may_hold_commas_quotes_and_blanks)
{
    const auto odd = std::filesystem::temp_directory_path() / "a, \"b\" \\c.pcap";
    std::filesystem::copy_file("captures/upstream-uni2.pcap", odd,
                               std::filesystem::copy_options::overwrite_existing);
    const pcap_command one = only_capture(odd.string() + ",kind=down_ani");
    EXPECT_EQ(one.file, odd.string());
    EXPECT_EQ(one.options.kind, 3u);
    std::filesystem::remove(odd);
}

TEST(append_captures, errors_name_the_fault)
{
    EXPECT_TRUE(complaint_about("absent.pcap").starts_with("absent.pcap: "));
    EXPECT_NE(complaint_about("captures/upstream-uni2.pcap,kind=sideways").find("sideways"),
              std::string::npos);
    EXPECT_NE(complaint_about("captures/upstream-uni2.pcap,speed=9").find("speed"),
              std::string::npos);
    EXPECT_NE(complaint_about("README.md"), "");
}

} // namespace

} // namespace gponflow
