// SPDX-License-Identifier: GPL-2.0-only
// The managed entity that decided that a frame is dropped.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/explain/walk_record.h"

namespace gponflow {

struct fault {
    me_id entity;       ///< the filter, mapper or instance that decided; it may not exist
    std::string reason; ///< "VLAN_TAG_FILTER_DATA 0x2001 of bridge 2 (forwardOperation 0x14) passes
                        ///< only VLAN 300 priority 5"
    std::optional<size_t> step; ///< of the walk; nothing if no step of it met the entity
    /// Of the attributes or the row that decided, the most specific one first; empty if the entity
    /// does not exist.
    std::vector<attribute_source> sources{};
};

/// The ends of the deepest branches, among those in the frame's own bridge if it is known. Of
/// several equally deep ends, those that only lack the link to the next instance; of several
/// filters only those whose list has the frame's VLAN. An upstream frame whose bridge does not
/// exist has a pointer at that bridge as its fault. A step that failed precedes deeper ends. More
/// than one if nothing distinguishes them. Empty if no step is the cause.
[[nodiscard]] std::vector<fault> faults_of(const walk_record& walk, const line_model& entities,
                                           std::optional<uint16_t> bridge = {});

/// The reasons in one text; of many branches the first three are named. Without a fault, the reason
/// of the module.
[[nodiscard]] std::string drop_reason(const walk_record& walk, const line_model& entities,
                                      std::optional<uint16_t> bridge = {});

/// The bridge of a bridge port; nothing for other classes and unknown instances.
[[nodiscard]] std::optional<uint16_t> bridge_of(const line_model& entities, me_id port);

/// The bridge that a frame passed into or out of: a walk leaves through its last port, the replay
/// of a rule through its first. Nothing if it passed through none.
[[nodiscard]] std::optional<uint16_t> bridge_of_path(const walk_record& walk,
                                                     const line_model& entities);

/// "bridge 1" or "no bridge".
[[nodiscard]] std::string bridge_text(std::optional<uint16_t> bridge);

/// The same for the bridge of a path; "an unknown bridge" if its events may be missing.
[[nodiscard]] std::string bridge_text(const walk_record& walk, const line_model& entities);

/// The bridge whose port a step of a walk belongs to: its own or that of the steps above it.
[[nodiscard]] std::optional<uint16_t> bridge_of_step(const walk_record& walk,
                                                     const line_model& entities, size_t step);

} // namespace gponflow
