// SPDX-License-Identifier: GPL-2.0-only
// Class 78.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tagging/rewritten.h"

namespace gponflow {

namespace {

TEST(tagging_plain, applies_upstream_modes)
{
    const octets untagged = frame_with({});
    const octets tagged = frame_with({vlan(5, 2)});
    EXPECT_EQ(up(plain(0, 0), untagged), "untagged");
    EXPECT_EQ(up(plain(0, 0), tagged), "VLAN 5 priority 2");
    EXPECT_EQ(up(plain(1, 0), untagged), "VLAN 100 priority 3");
    EXPECT_EQ(up(plain(1, 0), tagged), "VLAN 100 priority 3");
    EXPECT_EQ(up(plain(2, 0), untagged), "VLAN 100 priority 3");
    EXPECT_EQ(up(plain(2, 0), tagged), "VLAN 100 priority 3, VLAN 5 priority 2");
    EXPECT_EQ(up(plain(3, 0), tagged), "unknown: upstream mode 3 is not defined");
    // The attribute is a TCI: mode 1 leaves the TPID of the tag.
    EXPECT_EQ(up(plain(1, 0), frame_with({vlan(5, 2, 0x88a8)})), "VLAN 100 priority 3 (0x88a8)");
    EXPECT_EQ(up(plain(2, 0), frame_with({vlan(5, 2, 0x88a8)})),
              "VLAN 100 priority 3, VLAN 5 priority 2 (0x88a8)");
}

TEST(tagging_plain, applies_downstream_modes)
{
    const octets tagged = frame_with({vlan(100, 3), vlan(5, 2)});
    EXPECT_EQ(down(plain(2, 0), tagged), "VLAN 100 priority 3, VLAN 5 priority 2");
    EXPECT_EQ(down(plain(2, 1), tagged), "VLAN 5 priority 2");
    EXPECT_EQ(down(plain(2, 1), frame_with({})), "untagged");
    EXPECT_EQ(down(plain(2, 2), tagged), "unknown: downstream mode 2 is not defined");
    tag_operation bare;
    bare.class_id = me_class::vtocd;
    EXPECT_EQ(up(bare, tagged), "unknown: its attributes are not known");
}

} // namespace

} // namespace gponflow
