// SPDX-License-Identifier: GPL-2.0-only
// The outer tags of the upstream frames that a bridge port accepts, as sets.
#pragma once

#include <bitset>
#include <cstdint>
#include <span>
#include <string>

#include "include/tci.h"
#include "tool/model/line_model.h"

namespace gponflow {

/// A set of outer tags, by TCI. A frame without a tag and a tag whose TCI is 0 are the same: the
/// module does not distinguish them.
using tag_set = std::bitset<0x10000>;

/// A bit for each priority.
constexpr uint8_t every_priority = (1u << gpon::PRIORITIES) - 1;

/// The TCI of untagged frames.
constexpr uint16_t untagged_tci = 0;

/// Frames that the filter passes; empty for an unknown forward operation.
[[nodiscard]] tag_set passed_by(const gpon_raw_vtfd& filter);

/// The entries that the filter counts, as far as its list contains them.
[[nodiscard]] std::span<const uint16_t> listed_tcis(const gpon_raw_vtfd& filter);
void listed_tcis(gpon_raw_vtfd&&) = delete;

/// Whether a VLAN filter can have the forward operation; with another one it drops every frame.
[[nodiscard]] bool is_forward_operation(uint8_t code);

/// The bits of a TCI that a forward operation compares with its list; 0 if it has no list.
[[nodiscard]] uint16_t compared_bits(uint8_t forward_operation);

/// Whether upstream frames leave through the GEM IW TP: it and its GEM port exist, and the port is
/// not for downstream only.
[[nodiscard]] bool leads_upstream(const line_model& entities, uint16_t gem_iw);

/// Upstream frames that leave through the port: those that its filter passes and that its mapper or
/// GEM IW TP forwards. Empty for a port of the UNI side or of a multicast point.
[[nodiscard]] tag_set accepted_upstream(const line_model& entities, const me_instance& port);

/// Whether the set contains the TCI, without building the set.
[[nodiscard]] bool accepts_upstream(const line_model& entities, const me_instance& port,
                                    uint16_t tci);

/// The priorities with which the set contains the VLAN, a bit for each.
[[nodiscard]] unsigned priorities_of(const tag_set& tags, unsigned vlan);

/// "0 to 3, 6" for such bits.
[[nodiscard]] std::string priorities_text(unsigned which);

/// Whether the set contains each VLAN 1 to 4094 with each priority.
[[nodiscard]] bool has_all_vlans(const tag_set& tags);

/// "untagged, VLANs 100 (priority 0 to 3), 200 to 210": at most `most` VLANs or ranges.
[[nodiscard]] std::string to_text(const tag_set& tags, size_t most = 4);

} // namespace gponflow
