// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/omci/line_builder.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t link_ethernet = 1;
constexpr uint32_t link_cooked = 113;
constexpr uint32_t link_user0 = 147;
constexpr uint32_t link_user15 = 162;
constexpr uint32_t link_cooked2 = 276;
constexpr uint32_t link_wifi = 105;

const bytes reset_request = baseline(1, request_bit, mib_reset, 2, 0);

TEST(omci_capture, messages_carry_frame_numbers_from_1)
{
    const bytes other(60, 0xff);
    const capture_result result =
        read_capture_bytes(pcap_file({other, ethernet(olt, onu, reset_request), other}));
    ASSERT_TRUE(result.cap) << result.error;
    EXPECT_EQ(result.cap->frames, 3u);
    EXPECT_EQ(result.cap->other_frames, 2u);
    ASSERT_EQ(result.cap->messages.size(), 1u);
    EXPECT_EQ(result.cap->messages[0].frame, 2u);
}

TEST(omci_capture, vlan_tags_are_skipped)
{
    bytes frame = ethernet(olt, onu, reset_request);
    const bytes tags = from_hex("88a8 0064 8100 0001");
    frame.insert(frame.begin() + 12, tags.begin(), tags.end());
    EXPECT_EQ(read_capture_bytes(pcap_file({frame})).cap->messages.size(), 1u);
}

TEST(omci_capture, every_prefix_of_an_ethernet_header_is_no_omci)
{
    bytes frame = ethernet(olt, onu, reset_request);
    const bytes tag = from_hex("8100 0001");
    frame.insert(frame.begin() + 12, tag.begin(), tag.end());
    for (size_t length = 0; length < 18; ++length)
        EXPECT_FALSE(find_omci(link_ethernet, std::span(frame).first(length))) << length;
    EXPECT_TRUE(find_omci(link_ethernet, std::span(frame).first(18)));
}

TEST(omci_capture, cooked_and_bare_link_types_are_read)
{
    bytes cooked = from_hex("0000 0001 0006 020000000001 0000 88b5");
    bytes cooked2 = from_hex("88b5 0000 00000001 0001 00 06 0200000000010000");
    cooked.insert(cooked.end(), reset_request.begin(), reset_request.end());
    cooked2.insert(cooked2.end(), reset_request.begin(), reset_request.end());
    EXPECT_EQ(read_capture_bytes(pcap_file({cooked}, link_cooked)).cap->messages.size(), 1u);
    EXPECT_EQ(read_capture_bytes(pcap_file({cooked2}, link_cooked2)).cap->messages.size(), 1u);
    for (const uint32_t link : {link_user0, link_user15})
        EXPECT_EQ(read_capture_bytes(pcap_file({reset_request}, link)).cap->messages.size(), 1u);
}

TEST(omci_capture, other_link_types_are_an_error)
{
    const capture_result result = read_capture_bytes(pcap_file({reset_request}, link_wifi));
    EXPECT_FALSE(result.cap);
    EXPECT_THAT(result.error, HasSubstr("link type 105"));
}

TEST(omci_capture, file_without_omci_is_an_error)
{
    const capture_result result = read_capture_bytes(pcap_file({bytes(60, 0)}));
    EXPECT_FALSE(result.cap);
    EXPECT_THAT(result.error, HasSubstr("no OMCI message in 1 frame"));
}

TEST(omci_capture, bytes_that_are_no_capture_are_an_error)
{
    EXPECT_FALSE(read_capture_bytes({}).cap);
    EXPECT_FALSE(read_capture_bytes(from_hex("00")).cap);
    const capture_result result = read_capture_bytes(bytes(200, 'x'));
    EXPECT_FALSE(result.cap);
    EXPECT_FALSE(result.error.empty());
}

TEST(omci_capture, short_snapshots_are_damaged_messages)
{
    const bytes file = pcap_file({ethernet(olt, onu, reset_request)}, link_ethernet, 10);
    const capture_result result = read_capture_bytes(file);
    ASSERT_TRUE(result.cap) << result.error;
    ASSERT_EQ(result.cap->damaged.size(), 1u);
    EXPECT_EQ(result.cap->damaged[0].frame, 1u);
    EXPECT_THAT(result.cap->damaged[0].text, HasSubstr("48 of the frame's 58 bytes"));
}

TEST(omci_capture, file_that_ends_in_a_frame_keeps_the_frames_before_it)
{
    const bytes frame = ethernet(olt, onu, reset_request);
    const bytes file = pcap_file({frame, frame});
    const capture_result result = read_capture_bytes(std::span(file).first(file.size() - 5));
    ASSERT_TRUE(result.cap) << result.error;
    EXPECT_EQ(result.cap->messages.size(), 1u);
    EXPECT_THAT(result.cap->cut_short, HasSubstr("frame 2: "));
}

class several_onus : public testing::Test {
protected:
    const mac_address second{0x02, 0, 0, 0, 0, 0x03};
    const mac_address everyone{0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    const bytes file = pcap_file({
        ethernet(olt, onu, reset_request),
        ethernet(olt, second, reset_request),
        ethernet(second, olt, baseline(1, response_bit, mib_reset, 2, 0)),
        ethernet(olt, everyone, baseline(2, 0, 24, 256, 0)),
    });
};

TEST_F(several_onus, require_a_choice)
{
    const capture_result result = read_capture_bytes(file);
    EXPECT_FALSE(result.cap);
    EXPECT_TRUE(result.choose_onu);
    EXPECT_THAT(result.error, HasSubstr("2 ONUs (02:00:00:00:00:02, 02:00:00:00:00:03)"));
}

TEST_F(several_onus, choice_keeps_one_and_the_group_messages)
{
    const capture_result result = read_capture_bytes(file, second);
    ASSERT_TRUE(result.cap) << result.error;
    EXPECT_THAT(result.cap->onus, ElementsAre(second));
    ASSERT_EQ(result.cap->messages.size(), 3u);
    EXPECT_EQ(result.cap->messages[0].frame, 2u);
    EXPECT_EQ(result.cap->skipped_frames, 1u);
}

TEST_F(several_onus, choice_of_an_absent_one_is_an_error)
{
    const bytes one = pcap_file({ethernet(olt, onu, reset_request)});
    const capture_result result = read_capture_bytes(one, second);
    EXPECT_FALSE(result.cap);
    EXPECT_THAT(result.error, HasSubstr("1 are of other ONUs"));
}

TEST(omci_mac, converts_to_text_and_back)
{
    EXPECT_EQ(to_text(onu), "02:00:00:00:00:02");
    EXPECT_EQ(parse_mac("02:00:00:00:00:02"), onu);
    EXPECT_EQ(parse_mac("02-00-00-00-00-02"), onu);
    for (const char* wrong : {"", "02:00:00:00:00", "02:00:00:00:00:0", "02:00:00:00:00:0g",
                              "02:00:00:00:00:022", "02.00.00.00.00.02", "0x:00:00:00:00:02"})
        EXPECT_FALSE(parse_mac(wrong)) << wrong;
}

} // namespace
} // namespace gponflow::omci::test
