// SPDX-License-Identifier: GPL-2.0-only
// A VLAN tag as it is in a frame.
#pragma once

#include <compare>
#include <cstdint>
#include <vector>

#include "include/tci.h"
#include "tool/text/json_document.h"

namespace gponflow {

struct vlan_tag {
    uint16_t tpid = 0;
    uint16_t tci = 0; ///< priority, drop bit and VLAN id together

    [[nodiscard]] unsigned vlan() const { return gpon::vlan_of(tci); }
    [[nodiscard]] unsigned priority() const { return gpon::priority_of(tci); }

    // clang-tidy reports a 0 that the compiler generates.
    auto operator<=>(const vlan_tag&) const = default; // NOLINT(modernize-use-nullptr)
};

/// The tags as an array: member "tags" of the schemas.
[[nodiscard]] json tags_json(const std::vector<vlan_tag>& tags);

} // namespace gponflow
