// SPDX-License-Identifier: GPL-2.0-only
// Rows with extended criteria or reserved values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tagging/rewritten.h"

namespace gponflow {

namespace {

// IPv4: version 4 with a header of 5 words, UDP (17) at byte 9, the ports at byte 20. IPv6: UDP at
// byte 6, the ports at byte 40.
octets ip_packet(bool six, uint8_t protocol, uint16_t from, uint16_t to)
{
    octets packet(six ? 48 : 28);
    packet[0] = six ? 0x60 : 0x45;
    packet[six ? 6 : 9] = protocol;
    const size_t ports = six ? 40 : 20;
    packet[ports] = static_cast<uint8_t>(from >> 8);
    packet[ports + 1] = static_cast<uint8_t>(from);
    packet[ports + 2] = static_cast<uint8_t>(to >> 8);
    packet[ports + 3] = static_cast<uint8_t>(to);
    return packet;
}

// VLAN 100: DHCPv4 to VLAN 1, DHCPv6 to VLAN 2, other frames to VLAN 3.
tag_operation dhcp_table()
{
    tag_row four = single_row({8, 100, 0}, 1, add_nothing, {1, 1, 4});
    four.extended_criteria = 1;
    tag_row six = single_row({8, 100, 0}, 1, add_nothing, {2, 2, 4});
    six.extended_criteria = 2;
    return table_of({single_row({8, 100, 0}, 1, add_nothing, {3, 3, 4}), six, four});
}

TEST(tagging_upstream, rows_with_extended_criteria_apply_to_dhcp)
{
    const auto sent = [](bool six, uint8_t protocol, uint16_t from, uint16_t to) {
        return up(dhcp_table(), frame_with({vlan(100)}, six ? 0x86dd : 0x0800,
                                           ip_packet(six, protocol, from, to)));
    };
    EXPECT_EQ(sent(false, 17, 68, 67), "VLAN 1 priority 1");
    EXPECT_EQ(sent(false, 17, 67, 67), "VLAN 1 priority 1"); // from a relay
    EXPECT_EQ(sent(false, 17, 5000, 67), "VLAN 1 priority 1");
    EXPECT_EQ(sent(false, 17, 5000, 69), "VLAN 3 priority 3");
    EXPECT_EQ(sent(false, 6, 68, 67), "VLAN 3 priority 3"); // TCP
    EXPECT_EQ(sent(true, 17, 546, 547), "VLAN 2 priority 2");
    EXPECT_EQ(sent(true, 17, 68, 67), "VLAN 3 priority 3");
    EXPECT_EQ(up(dhcp_table(), frame_with({vlan(100)}, 0x0806, {})), "VLAN 3 priority 3");
}

TEST(tagging_upstream, later_fragment_has_no_udp_ports)
{
    octets packet = ip_packet(false, 17, 68, 67);
    packet[7] = 1; // the offset
    EXPECT_EQ(up(dhcp_table(), frame_with({vlan(100)}, 0x0800, packet)), "VLAN 3 priority 3");
}

TEST(tagging_upstream, frame_cut_before_its_udp_ports_may_be_dhcp)
{
    octets packet = ip_packet(false, 17, 68, 67);
    const std::string why =
        "unknown: the row \"single-tagged, VLAN 100, DHCPv4: remove 1 tag, add "
        "VLAN 1 with priority 1, TPID 0x8100\" may apply: the frame ends before "
        "its UDP ports";
    packet.resize(23);
    EXPECT_EQ(up(dhcp_table(), frame_with({vlan(100)}, 0x0800, packet)), why);
    EXPECT_EQ(up(dhcp_table(), frame_with({vlan(100)}, 0x0800, {})), why);
    packet[9] = 6; // TCP
    EXPECT_EQ(up(dhcp_table(), frame_with({vlan(100)}, 0x0800, packet)), "VLAN 3 priority 3");
}

TEST(tagging_downstream, inverse_rows_with_extended_criteria_apply_to_dhcp)
{
    tag_operation both = dhcp_table();
    for (tag_row& row : both.rows)
        row.inner.vid = 7; // all to one VLAN: the criteria decide which row is inverted
    for (tag_row& row : both.rows)
        row.inner.priority = copy_inner_priority;
    const auto text = [&](uint8_t protocol) {
        return rewrite_downstream(both,
                                  frame_with({vlan(7)}, 0x0800, ip_packet(false, protocol, 67, 68)))
            .row;
    };
    EXPECT_THAT(text(17), testing::HasSubstr("DHCPv4"));
    EXPECT_THAT(text(6), testing::Not(testing::HasSubstr("DHCP")));
}

TEST(tagging_upstream, reserved_criteria_change_nothing)
{
    tag_row row = single_row({8, 100, 0}, 0, add_nothing, {1, 1, 4});
    row.extended_criteria = 3;
    EXPECT_EQ(
        up(table_of({row}), frame_with({vlan(100)})),
        "unknown: the row \"single-tagged, VLAN 100, extended criteria 3: add VLAN 1 with "
        "priority 1, TPID 0x8100\" cannot be interpreted: reserved value: extended criteria 3");
}

// The reserved values of a filter: it may match the frame, so later rows do not decide.
TEST(tagging_upstream, reserved_values_of_a_filter_change_nothing)
{
    const auto outcome = [](const tag_row& row, frame_tag tag) {
        return up(table_of({row, single_row({8, 100, 0}, 1, add_nothing, {1, 1, 4})}),
                  frame_with({tag}));
    };
    for (const uint8_t tpid : {uint8_t{1}, uint8_t{2}, uint8_t{3}})
        EXPECT_EQ(
            outcome(single_row({8, 100, tpid}, 0, add_nothing, add_nothing), vlan(100)),
            "unknown: the row \"single-tagged, VLAN 100, TPID code " + std::to_string(tpid) +
                ": no change\" cannot be interpreted: reserved value: inner filter TPID code " +
                std::to_string(tpid));
    tag_row ethertype = single_row({8, 100, 0}, 0, add_nothing, add_nothing);
    ethertype.ethertype = 5;
    EXPECT_EQ(outcome(ethertype, vlan(100)),
              "unknown: the row \"single-tagged, VLAN 100, EtherType code 5: no change\" cannot be "
              "interpreted: reserved EtherType code 5");
    EXPECT_EQ(outcome(single_row({7, 4095, 0}, 0, add_nothing, add_nothing), vlan(100, 7)),
              "unknown: the row \"single-tagged, priority 7: no change\" cannot be interpreted: "
              "reserved value: inner filter VID 4095");
    // The other fields of the filter are compared.
    EXPECT_EQ(outcome(single_row({8, 5, 2}, 0, add_nothing, add_nothing), vlan(100)),
              "VLAN 1 priority 1");
    EXPECT_EQ(outcome(single_row({7, 4095, 0}, 0, add_nothing, add_nothing), vlan(100)),
              "VLAN 1 priority 1");
    EXPECT_EQ(outcome(ethertype, vlan(5)), "VLAN 5 priority 0");
}

} // namespace

} // namespace gponflow
