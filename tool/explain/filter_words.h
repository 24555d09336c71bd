// SPDX-License-Identifier: GPL-2.0-only
// VLAN filters and tags in words.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "include/uapi/gpon_flow.h"

namespace gponflow {

/// What the list of a VLAN filter is compared with (G.988 9.3.11).
enum class filter_compares { nothing, vlan, priority, whole_tag };

[[nodiscard]] filter_compares compared_by(uint8_t operation);

/// "passes only VLAN 300 priority 5", "drops untagged frames": why the filter drops a frame with
/// this outer tag; nothing for an untagged frame.
[[nodiscard]] std::string refusal_words(const gpon_raw_vtfd& filter, std::optional<uint16_t> tci);

/// Whether the list contains the VLAN id, whatever the operation compares.
[[nodiscard]] bool lists_vlan(const gpon_raw_vtfd& filter, unsigned vlan);

} // namespace gponflow
