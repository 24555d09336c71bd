// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/captures.h"

#include <sstream>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/tool/scratch_folder.h"
#include "tool/scenario/open.h"

namespace gponflow {
namespace {

using namespace std::string_literals;
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
        std::ignore = read_capture(file);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

std::vector<bytes> data_of(const ethernet_capture& capture)
{
    std::vector<bytes> all;
    for (const captured_frame& frame : capture.frames)
        all.push_back(frame.data);
    return all;
}

// A frame for which nothing is provisioned, with a tag of VLAN 300.
const std::string tagged_frame = "\x02\0\0\0\0\x01\x02\0\0\0\0\x02\x81\0\x01\x2c\x08\x06"s;

TEST(captures, frames_come_in_order_as_many_bytes_as_were_captured)
{
    const scratch_folder folder;
    const auto file = folder.write("x.pcap", pcap_header(ethernet) + pcap_frame("\x01\x02"sv, 2) +
                                                 pcap_frame("\x03"sv, 1500) + pcap_frame("", 0));
    const ethernet_capture capture = read_capture(file);
    EXPECT_THAT(data_of(capture), ElementsAre(bytes{1, 2}, bytes{3}, bytes{}));
    EXPECT_EQ(capture.frames[1].wire_length, 1500u);
    EXPECT_EQ(capture.frames[1].number, 2u);
    EXPECT_TRUE(capture.frames[1].is_cut());
    EXPECT_FALSE(capture.frames[0].is_cut());
    EXPECT_THAT(capture.warnings,
                ElementsAre("1 of 3 frames ends in the capture before a field that "
                            "the walk reads (snapshot length)"));
}

TEST(captures, a_damaged_file_is_used_up_to_the_damage)
{
    const scratch_folder folder;
    const std::string frame = pcap_frame(tagged_frame, 18);
    const std::string whole = pcap_header(ethernet) + frame + frame;
    const ethernet_capture capture =
        read_capture(folder.write("cut", whole.substr(0, whole.size() - 1)));
    EXPECT_EQ(capture.frames.size(), 1u);
    ASSERT_EQ(capture.warnings.size(), 1u);
    EXPECT_THAT(capture.warnings[0],
                HasSubstr("ends early, used up to there: frame 2: the file ends within it"));
}

// The header of a cooked capture: sent by us, Ethernet, address of 6 bytes, then the type.
TEST(captures, cooked_headers_become_ethernet)
{
    const scratch_folder folder;
    const std::string address = "\x02\0\0\0\0\x02\0\0"s;
    const std::string payload = "\x01\x2c\x08\x06"s;
    const std::string sll = "\0\x04\0\x01\0\x06"s + address + "\x81\0"s + payload;
    const std::string sll2 = "\x81\0\0\0\0\0\0\x01\0\x01\x04\x06"s + address + payload;
    bytes expected(6, 0);
    expected.insert(expected.end(), tagged_frame.begin() + 6, tagged_frame.end());
    for (const auto& [link, record] : {std::pair(113u, sll), std::pair(276u, sll2)}) {
        const auto length = static_cast<uint32_t>(record.size() + 100);
        const ethernet_capture capture =
            read_capture(folder.write("x", pcap_header(link) + pcap_frame(record, length)));
        EXPECT_THAT(data_of(capture), ElementsAre(expected)) << link;
        EXPECT_TRUE(capture.frames[0].cooked);
        EXPECT_EQ(capture.frames[0].wire_length, 118u);
    }
}

// Netlink messages of a capture on "any" have hardware type 824; a record may also be cut within
// its cooked header.
TEST(captures, cooked_records_without_ethernet_are_counted_and_skipped)
{
    const scratch_folder folder;
    const std::string netlink = "\0\x04\x03\x38\0\0"s + std::string(8, '\0') + "\0\0"s;
    const ethernet_capture capture = read_capture(
        folder.write("x", pcap_header(113) + pcap_frame(netlink, 16) + pcap_frame("\0"sv, 16)));
    EXPECT_TRUE(capture.frames.empty());
    EXPECT_THAT(capture.warnings, ElementsAre("2 frames without Ethernet, skipped"));
}

TEST(captures, an_ieee_802_3_frame_has_its_length_as_type)
{
    const scratch_folder folder;
    const std::string record = "\0\x04\0\x01\0\x06"s + std::string(8, '\x02') + "\0\x04"s + "abc";
    const ethernet_capture capture =
        read_capture(folder.write("x", pcap_header(113) + pcap_frame(record, 19)));
    EXPECT_EQ(capture.frames.at(0).data.at(12), 0);
    EXPECT_EQ(capture.frames.at(0).data.at(13), 3);
}

TEST(captures, the_newer_file_format_is_read_too)
{
    const scratch_folder folder;
    EXPECT_THAT(data_of(read_capture(folder.write("x.pcapng", pcapng_file()))),
                ElementsAre(bytes{1, 2, 3}));
}

TEST(captures, files_that_are_no_capture_of_ethernet_frames_are_errors)
{
    const scratch_folder folder;
    EXPECT_THAT(error_of_capture(folder.path("none")), HasSubstr("No such file"));
    EXPECT_THAT(error_of_capture(folder.path("")), HasSubstr("Is a directory"));
    EXPECT_THAT(error_of_capture(folder.write("text", "load\nunload\nand so on and so on\n")),
                HasSubstr("no capture: neither pcap nor pcapng"));
    EXPECT_THAT(error_of_capture(folder.write("empty", "")), HasSubstr("too short for a capture"));
    EXPECT_THAT(error_of_capture(folder.write("ip", pcap_header(raw_ip))),
                HasSubstr("not Ethernet but RAW"));
}

TEST(captures, a_pipe_is_refused_instead_of_waited_for)
{
    const scratch_folder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    std::ostringstream diagnostics;
    EXPECT_FALSE(open_scenario(folder.write("a.scn", "pcap pipe kind=0\n"), diagnostics));
    EXPECT_THAT(diagnostics.str(), HasSubstr("'pipe': not a regular file"));
}

TEST(captures, paths_start_at_the_folder_of_the_scenario)
{
    const scratch_folder folder;
    folder.write("-", pcap_header(ethernet) + pcap_frame("\x07"sv, 1));
    const auto file = folder.write("a.scn", "load\npcap - kind=0\n");
    std::ostringstream diagnostics;
    const std::optional<scenario> opened = open_scenario(file, diagnostics);
    ASSERT_TRUE(opened) << diagnostics.str();
    EXPECT_EQ(std::get<pcap_command>(opened->lines[1].command).frames.at(0).data, bytes{7});
    EXPECT_FALSE(opened->incomplete);
}

TEST(open_scenario, warns_of_captures_that_are_incomplete)
{
    const scratch_folder folder;
    folder.write("empty.pcap", pcap_header(ethernet));
    folder.write("cut.pcap", pcap_header(ethernet) + pcap_frame(tagged_frame, 18) + "x");
    const std::string file =
        folder.write("a.scn", "pcap empty.pcap kind=0\npcap cut.pcap kind=0\n");
    std::ostringstream diagnostics;
    const std::optional<scenario> opened = open_scenario(file, diagnostics);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(opened->incomplete);
    EXPECT_THAT(diagnostics.str(),
                testing::StartsWith(file +
                                    ":1: warning: capture 'empty.pcap': no Ethernet frame "
                                    "in it\n" +
                                    file +
                                    ":2: warning: capture 'cut.pcap': ends early, used up "
                                    "to there: frame 2: the file ends within it"));
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
