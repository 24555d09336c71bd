// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/captures.h"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/tool/scratch_folder.h"
#include "tool/scenario/open.h"

namespace gponflow {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t ethernet = 1;
constexpr uint32_t raw_ip = 101;

std::string word32(uint32_t number)
{
    return std::string(reinterpret_cast<const char*>(&number), sizeof(number));
}

std::string pcap_header(uint32_t link_type)
{
    return word32(0xa1b2c3d4) + word32(0x00040002) + word32(0) + word32(0) + word32(65535) +
           word32(link_type);
}

std::string pcap_frame(std::string_view captured, uint32_t length_on_wire)
{
    return word32(0) + word32(0) + word32(static_cast<uint32_t>(captured.size())) +
           word32(length_on_wire) + std::string(captured);
}

std::string pcapng_block(uint32_t type, const std::string& body)
{
    const std::string length = word32(static_cast<uint32_t>(body.size() + 12));
    return word32(type) + length + body + length;
}

std::string pcapng_file()
{
    return pcapng_block(0x0a0d0d0a, word32(0x1a2b3c4d) + word32(1) + word32(~0u) + word32(~0u)) +
           pcapng_block(1, word32(ethernet) + word32(65535)) +
           pcapng_block(6, word32(0) + word32(0) + word32(0) + word32(3) + word32(3) +
                               std::string("\x01\x02\x03\0"sv));
}

std::string error_of_capture(const std::filesystem::path& file)
{
    try {
        read_capture(file);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

TEST(captures, frames_come_in_order_as_many_bytes_as_were_captured)
{
    const scratch_folder folder;
    const auto file = folder.write("x.pcap", pcap_header(ethernet) + pcap_frame("\x01\x02"sv, 2) +
                                                 pcap_frame("\x03"sv, 1500) + pcap_frame("", 0));
    EXPECT_THAT(read_capture(file), ElementsAre(bytes{1, 2}, bytes{3}, bytes{}));
}

TEST(captures, the_newer_file_format_is_read_too)
{
    const scratch_folder folder;
    EXPECT_THAT(read_capture(folder.write("x.pcapng", pcapng_file())), ElementsAre(bytes{1, 2, 3}));
}

TEST(captures, files_that_are_no_capture_of_ethernet_frames_are_errors)
{
    const scratch_folder folder;
    EXPECT_THAT(error_of_capture(folder.path("none")), HasSubstr("No such file"));
    EXPECT_THAT(error_of_capture(folder.path("")), HasSubstr("not a regular file"));
    EXPECT_THAT(error_of_capture(folder.write("text", "load\nunload\nand so on and so on\n")),
                HasSubstr("unknown file format"));
    EXPECT_THAT(error_of_capture(folder.write("empty", "")), HasSubstr("truncated"));
    EXPECT_THAT(error_of_capture(folder.write("ip", pcap_header(raw_ip))),
                HasSubstr("not Ethernet but RAW"));
    const std::string whole = pcap_header(ethernet) + pcap_frame("0123456789", 10);
    EXPECT_THAT(error_of_capture(folder.write("cut", whole.substr(0, whole.size() - 1))),
                HasSubstr("truncated"));
}

TEST(captures, a_pipe_is_refused_instead_of_waited_for)
{
    const scratch_folder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_THAT(error_of_capture(folder.path("pipe")), HasSubstr("not a regular file"));
}

TEST(captures, paths_start_at_the_folder_of_the_scenario)
{
    const scratch_folder folder;
    folder.write("-", pcap_header(ethernet) + pcap_frame("\x07"sv, 1));
    const auto file = folder.write("a.scn", "load\npcap - kind=0\n");
    std::ostringstream diagnostics;
    const std::optional<scenario> opened = open_scenario(file, diagnostics);
    ASSERT_TRUE(opened) << diagnostics.str();
    EXPECT_THAT(std::get<pcap_command>(opened->lines[1].command).frames, ElementsAre(bytes{7}));
}

TEST(open_scenario, reports_all_faults_in_the_order_of_lines)
{
    const scratch_folder folder;
    const std::string file =
        folder.write("a.scn", "pcap none.pcap kind=0\nlaod\npcap other.pcap kind=0\n");
    std::ostringstream diagnostics;
    EXPECT_FALSE(open_scenario(file, diagnostics));
    EXPECT_EQ(diagnostics.str(),
              file + ":1: cannot read the capture 'none.pcap': No such file or directory\n" + file +
                  ":2: column 1: unknown command 'laod' (did you mean 'load'?)\n" + file +
                  ":3: cannot read the capture 'other.pcap': No such file or directory\n");
}

TEST(open_scenario, a_file_of_another_kind_does_not_flood_the_terminal)
{
    const scratch_folder folder;
    std::string text;
    for (int i = 0; i < 50; ++i)
        text += "x\n";
    const std::string file = folder.write("a.scn", text);
    std::ostringstream diagnostics;
    EXPECT_FALSE(open_scenario(file, diagnostics));
    EXPECT_THAT(diagnostics.str(), testing::EndsWith(file + ": 30 more errors\n"));
}

TEST(open_scenario, a_file_that_cannot_be_read_is_an_error)
{
    const scratch_folder folder;
    const std::string file = folder.path("none.scn");
    std::ostringstream diagnostics;
    EXPECT_FALSE(open_scenario(file, diagnostics));
    EXPECT_EQ(diagnostics.str(), file + ": No such file or directory\n");
    EXPECT_FALSE(open_scenario(folder.path(""), diagnostics));
}

} // namespace
} // namespace gponflow
