/* SPDX-License-Identifier: GPL-2.0-only */
/* The types of Ethernet frames that begin a VLAN tag (IEEE 802.1Q, 802.1ad). */
#ifndef GPON_TPID_H
#define GPON_TPID_H

#include "../base/types.h"

namespace gpon {

constexpr u16 TPID_8021Q = 0x8100;
constexpr u16 TPID_9100 = 0x9100;
constexpr u16 TPID_8021AD = 0x88A8;

/* Whether the type, in host order, begins a tag. */
[[nodiscard]] constexpr bool is_tpid(u16 type)
{
    return type == TPID_8021Q || type == TPID_9100 || type == TPID_8021AD;
}

/* Whether the module reads the TCI behind the type: filters and mappers take a frame with an outer
 * tag of TPID_9100 for an untagged one. */
[[nodiscard]] constexpr bool has_outer_tci(u16 type)
{
    return type == TPID_8021Q || type == TPID_8021AD;
}

} // namespace gpon

#endif
