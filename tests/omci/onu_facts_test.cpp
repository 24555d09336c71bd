// SPDX-License-Identifier: GPL-2.0-only
// What the ONU reports about itself.
#include "tool/omci/onu_facts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/omci/line_builder.h"
#include "tool/omci/summary_output.h"

namespace gponflow::omci::test {
namespace {

// "2.0.4" and "2.1.0" in 14 bytes.
const std::string old_version = "322e302e34 000000000000000000";
const std::string new_version = "322e312e30 000000000000000000";

TEST(omci_onu_facts, get_responses_name_the_onu_and_its_active_image)
{
    line session;
    // Vendor id ABCD, version "V1" padded with blanks.
    session.replied(get, 256, 0, "c000", "00 c000 41424344 5631202020202020202020202020");
    session.replied(get, 256, 0, "2000", "00 2000 41424344 01020a0b");
    session.replied(get, 257, 0, "8000", "00 8000 4f4e54");
    session.replied(get, 7, 0, "f000", "00 f000" + old_version + "01 00 01");
    session.replied(get, 7, 1, "f000", "00 f000" + new_version + "00 01 01");
    const onu_facts facts = session.converted().counts.onu;
    EXPECT_EQ(facts.vendor, "ABCD");
    EXPECT_EQ(facts.version, "V1");
    EXPECT_EQ(facts.serial, "ABCD01020A0B");
    EXPECT_EQ(facts.equipment, "ONT");
    EXPECT_EQ(facts.firmware(), "2.1.0");
}

TEST(omci_onu_facts, mib_upload_names_the_active_image)
{
    line session;
    session.replied(mib_upload_next, 2, 0, "0000", "0007 0000 f000" + old_version + "01 01 01");
    session.replied(mib_upload_next, 2, 0, "0001", "0007 0001 f000" + new_version + "00 00 01");
    EXPECT_EQ(session.converted().counts.onu.firmware(), "2.0.4");
}

TEST(omci_onu_facts, later_report_replaces_the_earlier_one)
{
    line session;
    session.replied(get, 7, 0, "f000", "00 f000" + old_version + "01 01 01");
    session.replied(get, 7, 0, "d000", "00 d000" + new_version + "00 01");
    session.replied(get, 7, 1, "f000", "00 f000" + new_version + "01 01 01");
    EXPECT_EQ(session.converted().counts.onu.firmware(), "2.1.0");
}

TEST(omci_onu_facts, refused_get_and_image_of_a_circuit_pack_report_nothing)
{
    line session;
    session.replied(get, 7, 0, "f000", "09 f000" + old_version + "01 01 01");
    session.replied(get, 7, 0x0100, "f000", "00 f000" + old_version + "01 01 01");
    session.replied(get, 7, 0, "0800", "00 0800 41424344");
    const onu_facts facts = session.converted().counts.onu;
    EXPECT_EQ(facts.firmware(), "");
    EXPECT_EQ(to_json(facts), json::object());
}

TEST(omci_onu_facts, bytes_that_are_no_text_are_escaped)
{
    line session;
    session.replied(get, 256, 0, "a000", "00 a000 410a4280 ff010203 04050607");
    const onu_facts facts = session.converted().counts.onu;
    EXPECT_EQ(facts.vendor, "A\\nB\\x80");
    EXPECT_EQ(facts.serial, "\\xff\\x01\\x02\\x0304050607");
}

TEST(omci_onu_facts, origin_has_the_times_of_the_messages)
{
    line session;
    session.done(set, 262, 0x8000, "8000 03e8");
    capture cap = session.captured();
    const json unknown = origin_json(cap, session.converted());
    EXPECT_FALSE(unknown.contains("from")); // a capture without times
    cap.messages.front().time = 1788868800000000000;
    cap.messages.back().time = 1788868861999999999;
    const json origin = origin_json(cap, session.converted());
    EXPECT_EQ(origin["from"], "2026-09-08T12:00:00Z");
    EXPECT_EQ(origin["to"], "2026-09-08T12:01:01Z");
    EXPECT_EQ(origin["address"], "02:00:00:00:00:02");
}

} // namespace
} // namespace gponflow::omci::test
