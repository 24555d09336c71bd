// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/frame_priority.h"

#include "me_class/mapper_priority.h"
#include "pkt/header.h"

namespace gponflow {

int dscp_of(const std::vector<uint8_t>& frame)
{
    const gpon::frame readable{frame};
    const int dscp = gpon::dscp_behind_tags(readable, gpon::tag_count(readable));
    return dscp == -1 ? -1 : dscp & 63; // the module's is negative for IPv6
}

uint8_t mapped_priority(std::span<const uint8_t, 24> map, unsigned dscp)
{
    return gpon::mapped_priority(map, dscp);
}

uint16_t selected_gem_iw(const gpon_raw_mapper& mapper, uint8_t priority)
{
    return gpon::selected_gem_iw(mapper, priority);
}

} // namespace gponflow
