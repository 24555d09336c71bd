// SPDX-License-Identifier: GPL-2.0-only
#include "tool/capture/vlan_tag.h"

#include <nlohmann/json.hpp>

namespace gponflow {

json tags_json(const std::vector<vlan_tag>& tags)
{
    json all = json::array();
    for (const vlan_tag& tag : tags)
        all.push_back({{"tpid", tag.tpid},
                       {"tci", tag.tci},
                       {"vlan", tag.vlan()},
                       {"priority", tag.priority()}});
    return all;
}

} // namespace gponflow
