// SPDX-License-Identifier: GPL-2.0-only
// The lines that an operator writes to the proc entry, from checked values.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/live/flow_key.h"

namespace gponflow {

/// The frames to trace. All fields that are set must match. Without any, no frame is marked.
struct trace_filter {
    std::optional<mac_address> destination;
    std::optional<mac_address> source;
    std::optional<uint16_t> outer; ///< the whole TCI of the outer tag
    std::optional<uint16_t> inner;

    [[nodiscard]] bool empty() const { return !destination && !source && !outer && !inner; }
};

/// Reads "dst_mac=MAC src_mac=MAC outer_vlan=VLAN inner_vlan=VLAN" in any order. A VLAN is a
/// VID (priority 0), a VID with a priority as in 100p5, or the whole TCI in hexadecimal. Throws
/// std::runtime_error with reason and place.
[[nodiscard]] trace_filter read_trace_filter(const std::string& text);

/// The names of the fields.
[[nodiscard]] std::vector<std::string_view> trace_filter_names();

/// A remark about VLANs without a priority in the text of a filter; empty if there is none.
[[nodiscard]] std::string priority_note(const std::string& text);

/// The filter for frames with the addresses and outer tags of this one.
[[nodiscard]] trace_filter filter_of(const bytes& frame);

/// Whether the filter may mark frames with this key.
[[nodiscard]] bool may_mark(const trace_filter& filter, const flow_key& key);

/// Lines that replace the filter of the module by this one.
[[nodiscard]] std::vector<std::string> lines_of(const trace_filter& filter);

/// Clears the filter.
inline constexpr const char* trace_off_line = "set trace disable";

/// Levels by name ("errors,traces"), "none", "all", or a mask. Throws std::runtime_error.
[[nodiscard]] uint32_t read_debug_level(const std::string& text);

/// The names of the levels.
[[nodiscard]] std::vector<std::string_view> debug_level_names();

/// The line that sets the level.
[[nodiscard]] std::string debug_level_line(uint32_t mask);

} // namespace gponflow
