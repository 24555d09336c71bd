/* SPDX-License-Identifier: GPL-2.0-only */
/* The tag control information of a VLAN tag (IEEE 802.1Q), in host order. */
#ifndef GPON_TCI_H
#define GPON_TCI_H

#include "../base/types.h"

namespace gpon {

constexpr u16 TCI_VLAN = 0x0fff;
constexpr u16 TCI_DROP_ELIGIBLE = 0x1000;
constexpr u16 TCI_PRIORITY = 0xe000;
constexpr u32 TCI_PRIORITY_SHIFT = 13;

constexpr u32 VLAN_IDS = 4096; /* the last one is reserved */
constexpr u32 PRIORITIES = 8;
static_assert(VLAN_IDS == TCI_VLAN + 1 && PRIORITIES == (TCI_PRIORITY >> TCI_PRIORITY_SHIFT) + 1);

[[nodiscard]] constexpr u16 vlan_of(u16 tci)
{
    return tci & TCI_VLAN;
}

[[nodiscard]] constexpr u8 priority_of(u16 tci)
{
    return static_cast<u8>(tci >> TCI_PRIORITY_SHIFT);
}

[[nodiscard]] constexpr bool is_drop_eligible(u16 tci)
{
    return (tci & TCI_DROP_ELIGIBLE) != 0;
}

[[nodiscard]] constexpr u16 to_tci(u32 priority, bool drop_eligible, u32 vlan)
{
    return static_cast<u16>(priority << TCI_PRIORITY_SHIFT |
                            (drop_eligible ? TCI_DROP_ELIGIBLE : 0u) | (vlan & TCI_VLAN));
}

} // namespace gpon

#endif
