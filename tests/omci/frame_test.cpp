// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/omci/line_builder.h"
#include "tool/omci/crc32.h"

namespace gponflow::omci::test {
namespace {

using testing::HasSubstr;

TEST(omci_crc, agrees_with_the_published_aal5_examples)
{
    bytes zeros(40, 0);
    zeros.insert(zeros.end(), {0, 0, 0, 40});
    EXPECT_EQ(crc32_aal5(zeros), 0x864d7f99u); // ITU-T I.363.5: 40 octets of zeros
    const std::string_view digits = "123456789";
    EXPECT_EQ(crc32_aal5(bytes(digits.begin(), digits.end())), 0xfc891918u);
}

TEST(omci_frame, baseline_request_is_decoded)
{
    const bytes message = baseline(0x1234, request_bit, create, 268, 0x8001, "03e9 8000");
    const decoded result = decode_message(message);
    ASSERT_TRUE(result.msg) << result.fault;
    EXPECT_EQ(result.msg->transaction, 0x1234);
    EXPECT_EQ(result.msg->type, create);
    EXPECT_TRUE(result.msg->acknowledge_requested);
    EXPECT_FALSE(result.msg->acknowledgement);
    EXPECT_FALSE(result.msg->extended);
    EXPECT_EQ(result.msg->class_id, me_class::gemctp);
    EXPECT_EQ(result.msg->instance, 0x8001);
    ASSERT_EQ(result.msg->content.size(), 32u);
    EXPECT_EQ(read_u32(result.msg->content, 0), 0x03e98000u);
    EXPECT_EQ(result.msg->content.data(), message.data() + 8);
}

TEST(omci_frame, response_is_distinguished_from_request)
{
    const bytes message = baseline(1, response_bit, set, 262, 0x8000, "00");
    const decoded result = decode_message(message);
    ASSERT_TRUE(result.msg);
    EXPECT_TRUE(result.msg->acknowledgement);
    EXPECT_FALSE(result.msg->acknowledge_requested);
}

TEST(omci_frame, sound_crc_is_accepted_with_and_without_ethernet_padding)
{
    bytes message = with_crc(baseline(1, request_bit, set, 262, 0x8000, "8000 03e8"));
    ASSERT_EQ(message.size(), 48u);
    EXPECT_TRUE(decode_message(message).msg);
    message.insert(message.end(), {1, 2, 3, 4}); // a captured frame check sequence
    EXPECT_TRUE(decode_message(message).msg);
}

TEST(omci_frame, every_single_damaged_byte_breaks_the_crc)
{
    const bytes sound = with_crc(baseline(1, request_bit, create, 47, 1, "0001 01 01 0101"));
    for (size_t i = 0; i < sound.size(); ++i) {
        bytes damaged = sound;
        damaged[i] ^= 0x10;
        const decoded result = decode_message(damaged);
        EXPECT_FALSE(result.msg) << "byte " << i;
        EXPECT_FALSE(result.fault.empty()) << "byte " << i;
    }
}

TEST(omci_frame, wrong_crc_is_named_with_the_right_one)
{
    bytes message = baseline(1, request_bit, mib_reset, 2, 0);
    const bytes sound = with_crc(message);
    message.insert(message.end(), {0xde, 0xad, 0xbe, 0xef});
    const decoded result = decode_message(message);
    EXPECT_FALSE(result.msg);
    EXPECT_THAT(result.fault, HasSubstr("0xdeadbeef"));
    char right[11];
    std::snprintf(right, sizeof(right), "0x%08x", read_u32(sound, 44));
    EXPECT_THAT(result.fault, HasSubstr(right));
}

TEST(omci_frame, blanked_crc_and_padding_count_as_absent)
{
    const bytes bare = baseline(1, request_bit, mib_reset, 2, 0);
    for (const size_t padding : {0, 1, 2, 3, 4, 16}) {
        bytes message = bare;
        message.resize(message.size() + padding);
        EXPECT_TRUE(decode_message(message).msg) << padding;
    }
}

TEST(omci_frame, cut_crc_is_damage)
{
    bytes message = with_crc(baseline(1, request_bit, create, 47, 1, "0001 01 01 0101"));
    message.pop_back();
    const decoded result = decode_message(message);
    EXPECT_FALSE(result.msg);
    EXPECT_THAT(result.fault, HasSubstr("47 bytes"));
}

TEST(omci_frame, every_shorter_length_is_damage)
{
    const bytes message = baseline(1, request_bit, mib_reset, 2, 0);
    for (size_t length = 0; length < message.size(); ++length) {
        const decoded result = decode_message(std::span(message).first(length));
        EXPECT_FALSE(result.msg) << length;
        EXPECT_THAT(result.fault, HasSubstr(std::to_string(length) + " bytes"));
    }
}

TEST(omci_frame, trailer_length_must_be_that_of_a_baseline_message)
{
    bytes message = baseline(1, request_bit, mib_reset, 2, 0);
    message[43] = 41;
    const decoded result = decode_message(message);
    EXPECT_FALSE(result.msg);
    EXPECT_THAT(result.fault, HasSubstr("length of 41"));
}

TEST(omci_frame, unknown_device_identifier_is_damage)
{
    bytes message = baseline(1, request_bit, mib_reset, 2, 0);
    message[3] = 0x0c;
    EXPECT_THAT(decode_message(message).fault, HasSubstr("0x0c"));
}

TEST(omci_frame, extended_message_has_contents_of_its_own_length)
{
    const bytes message = extended(7, request_bit, set, 171, 1, "0400 0011223344");
    const decoded result = decode_message(message);
    ASSERT_TRUE(result.msg) << result.fault;
    EXPECT_TRUE(result.msg->extended);
    EXPECT_EQ(result.msg->content.size(), 7u);
    EXPECT_TRUE(decode_message(with_crc(message)).msg);
}

TEST(omci_frame, extended_message_is_checked_against_its_length_and_crc)
{
    bytes message = extended(7, request_bit, set, 171, 1, "0400 0011223344");
    EXPECT_FALSE(decode_message(std::span(message).first(9)).msg);
    EXPECT_FALSE(decode_message(std::span(message).first(message.size() - 1)).msg);
    bytes damaged = with_crc(message);
    damaged[12] ^= 1;
    EXPECT_THAT(decode_message(damaged).fault, HasSubstr("CRC"));
    message[8] = 0x7f; // contents beyond what the standard allows
    message.resize(0x8000);
    EXPECT_THAT(decode_message(message).fault, HasSubstr("at most"));
}

TEST(omci_frame, types_have_readable_names)
{
    EXPECT_EQ(type_name(create), "create");
    EXPECT_EQ(type_name(delete_me), "delete");
    EXPECT_EQ(type_name(mib_upload_next), "MIB upload next");
    EXPECT_EQ(type_name(3), "type 3");
    EXPECT_EQ(type_name(255), "type 255");
}

} // namespace
} // namespace gponflow::omci::test
