// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_priority.h"

#include "me_class/mapper_priority.h"
#include "pkt/header.h"

namespace gponflow {

int dscp_of(const bytes& frame)
{
    const gpon::frame readable{frame};
    const int dscp = gpon::dscp_behind_tags(readable, gpon::tag_count(readable));
    return dscp == -1 ? -1 : dscp & 63; // the module's is negative for IPv6
}

unsigned mapped_priority(const uint8_t (&map)[24], unsigned dscp)
{
    return gpon::mapped_priority(map, dscp);
}

} // namespace gponflow
