// SPDX-License-Identifier: GPL-2.0-only
// What an operator writes to the module's proc entry, from checked values.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/live/flow_key.h"

namespace gponflow {

/// Which frames tell their way; what is set must match together, and nothing set marks no frame.
struct trace_filter {
    std::optional<mac_address> destination;
    std::optional<mac_address> source;
    std::optional<uint16_t> outer; ///< the whole TCI of the outer tag
    std::optional<uint16_t> inner;

    bool empty() const { return !destination && !source && !outer && !inner; }
};

/// Reads "dst_mac=MAC src_mac=MAC outer_vlan=VLAN inner_vlan=VLAN" in any order. A VLAN is a whole
/// TCI as a number, or VID and priority as in 100p5. Throws std::runtime_error that says what is
/// wrong and where.
trace_filter read_trace_filter(const std::string& text);

/// The names that it takes.
std::vector<std::string_view> trace_filter_names();

/// The frames of the same addresses and outer tags as this one.
trace_filter filter_of(const bytes& frame);

/// Whether the rule belongs to frames that the filter marks.
bool may_mark(const trace_filter& filter, const flow_key& key);

/// Lines that make this the module's filter, whatever it was before.
std::vector<std::string> lines_of(const trace_filter& filter);

/// Ends the filter.
inline constexpr const char* trace_off_line = "set trace disable";

/// Levels by name ("errors,traces"), "none", "all", or a mask. Throws std::runtime_error.
uint32_t read_debug_level(const std::string& text);

/// Those names.
std::vector<std::string_view> debug_level_names();

/// The line that sets the level.
std::string debug_level_line(uint32_t mask);

} // namespace gponflow
