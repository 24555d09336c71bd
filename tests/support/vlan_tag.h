/* SPDX-License-Identifier: GPL-2.0-only */
/* A VLAN tag of a frame that a test builds. */
#pragma once

#include "base/types.h"

namespace gpon::test {

struct vlan_tag {
    u16 tpid;
    u16 tci;
};

} // namespace gpon::test
