// SPDX-License-Identifier: GPL-2.0-only
// Damaged inputs of all kinds, through the entry points of the fuzzer. A broken guarantee aborts.
#include <gtest/gtest.h>

#include <random>

#include "tests/omci/fuzz_entries.h"
#include "tests/omci/line_builder.h"
#include "tool/model/omci_attributes.h"

namespace gponflow::omci::test {
namespace {

// A bring-up that touches every class and both message sets.
line whole_line()
{
    line session;
    session.done(mib_reset, 2, 0);
    session.replied(mib_upload_next, 2, 0, "0000", "0115 8000 0400 80000007");
    for (const attribute_class& cls : attribute_classes()) {
        const uint16_t class_id = gpon::class_number(cls.id);
        session.done(create, class_id, 1, "0001 0002 0003");
        session.done(set, class_id, 1, "ffff 01");
        session.done(set, class_id, 1, "8000 01");
        session.replied(get, class_id, 1, "8000", "00 8000 01");
        session.done(delete_me, class_id, 1);
    }
    session.from_olt(extended(900, request_bit, set, 171, 1, "0400 0011"));
    session.from_onu(extended(900, response_bit, set, 171, 1, "00"));
    return session;
}

TEST(omci_robustness, every_prefix_of_a_capture_is_handled)
{
    const line session = whole_line();
    const bytes file = pcap_file({session.frames.begin(), session.frames.begin() + 12});
    for (size_t length = 0; length <= file.size(); ++length)
        EXPECT_EQ(fuzz_capture(file.data(), length), 0);
}

TEST(omci_robustness, changed_bytes_anywhere_are_handled)
{
    const bytes file = pcap_file(whole_line().frames);
    std::mt19937 random(1);
    for (int round = 0; round < 400; ++round) {
        bytes changed = file;
        for (int i = 0; i < 8; ++i)
            changed[random() % changed.size()] = static_cast<uint8_t>(random());
        EXPECT_EQ(fuzz_capture(changed.data(), changed.size()), 0);
    }
}

TEST(omci_robustness, changed_messages_are_handled_by_the_conversion)
{
    std::mt19937 random(2);
    for (int round = 0; round < 400; ++round) {
        bytes session;
        for (const bytes& frame : whole_line().frames) {
            const std::span message = std::span(frame).subspan(14);
            session.push_back(static_cast<uint8_t>(message.size()));
            session.insert(session.end(), message.begin(), message.end());
            if (random() % 2 == 0) // past the transaction id, so that pairs stay pairs
                session[session.size() - 1 - random() % 40] = static_cast<uint8_t>(random());
        }
        EXPECT_EQ(fuzz_session(session.data(), session.size()), 0);
    }
}

TEST(omci_robustness, any_header_byte_is_handled)
{
    for (unsigned value = 0; value < 256; ++value) {
        for (size_t at = 0; at < 10; ++at) {
            bytes message = baseline(1, request_bit, set, 130, 1, "ffff");
            message[at] = static_cast<uint8_t>(value);
            EXPECT_EQ(fuzz_message(message.data(), message.size()), 0);
        }
    }
}

} // namespace
} // namespace gponflow::omci::test
