// SPDX-License-Identifier: GPL-2.0-only
// Texts for the decisions of a walk. Operands that no message contains come from the entities and
// the frame.
#pragma once

#include <string>

#include "tool/model/line_model.h"
#include "tool/text/hex_text.h"

namespace gponflow {

// Reasons why a branch ends, as walk_step::dead_end contains them.
constexpr const char* filter_drops = "its VLAN filter drops the frame";
constexpr const char* filter_blocks = "its VLAN filter blocks the frame at this port";
constexpr const char* filter_on_uni_side =
    "its VLAN filter is on the UNI side, where it drops every frame";
constexpr const char* not_selected = "the mapper does not select it for this frame";
constexpr const char* unreadable = "its VLAN filter or mapper cannot be read";

constexpr const char* too_deep = "the graph is deeper than the limit of a walk";
constexpr const char* no_passage = "frames do not pass through this class";
constexpr const char* step_failed = "the step failed, for example for lack of memory";

// Reasons that no step has, as walk_record::other_failure contains them.
/// Of a frame that reached its egress; the text is that of the module's log, for searches in both.
constexpr const char* no_queue = "no priority queue find!";
constexpr const char* no_mapping = "the engine is disabled, and the platform found no GEM port";
constexpr const char* some_step_failed = "a step failed, for example for lack of memory";
constexpr const char* unreadable_header = "the header could not be read";
constexpr const char* no_packet = "a hook call without a packet";
constexpr const char* unknown_kind = "a hook call of an unknown kind";
constexpr const char* events_missing = "trace events of the frame are missing";

// Whole sentences.
constexpr const char* unfiltered_note =
    "No branch leads into a bridge, but the frame passes: a frame of a multicast GEM port is "
    "dropped neither by a filter nor for lack of a bridge.";
constexpr const char* nothing_seen = "No trace event of this frame arrived: the trace filter was "
                                     "changed meanwhile, or the kernel dropped the events.";

// Why a frame is not classified.
constexpr const char* tags_hidden = "its tags are not in the capture";

/// The same reason for several instances: "their VLAN filters drop the frame".
[[nodiscard]] std::string plural_reason(const std::string& reason);

/// "filter 0x1001: code 0x04, TCI 0x0064 (VLAN 100, priority 0), list {0x0064}", of the filter on
/// that bridge port. Empty if the entities have none.
[[nodiscard]] std::string filter_text(const line_model& entities, me_id port, uint16_t tci,
                                      bool tagged);

/// The decision of the mapper of a GEM IW TP: "mapper 0x0001: TCI 0x6064, priority 3 selects
/// GEM IW TP 0x0012". A TCI of 0 is that of an untagged frame; without the frame its DSCP is not
/// known.
[[nodiscard]] std::string priority_text(const line_model& entities, me_id gem_iw, uint16_t tci,
                                        const bytes* frame);

/// Why a frame cannot go through a bridge port in its direction.
[[nodiscard]] std::string side_text(const line_model& entities, me_id port);

/// Why no frame follows a pointer, at the instance `at` that it starts from or names:
/// "gemCTPInstID 0x0009 names GEM_PORT_CTP 0x0009, which does not exist".
[[nodiscard]] std::string broken_link_text(const line_model& entities, const me_pointer& pointer,
                                           me_id at);

/// Why a walk ends at an instance whose event has no reason.
[[nodiscard]] std::string end_text(const line_model& entities, me_id at);

/// The same for a step that failed.
[[nodiscard]] std::string failure_text(const line_model& entities, me_id at);

} // namespace gponflow
