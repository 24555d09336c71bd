// SPDX-License-Identifier: GPL-2.0-only
// Small provisionings for the tests.
#pragma once

#include <string>

#include "tests/tool/parsing.h"

namespace gponflow {

/// One service of VLAN 100 over GEM port 1025, in order and without mistakes.
inline const std::string good_line =
    "load\n"
    "me create MAC_BRIDGE_SERVICE_PROFILE 1\n"
    "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3\n"
    "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=5 tpPointer=0x11\n"
    "me create VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=100 forwardOperation=0x04 "
    "vlanFilterNums=1\n"
    "hook kind=switch param=1\n";

inline const std::string frame_of_vlan_100 = "frame=0200000000010200000001018100006408004500";
inline const std::string frame_of_vlan_101 = "frame=0200000000010200000001018100006508004500";

} // namespace gponflow
