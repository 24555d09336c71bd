// SPDX-License-Identifier: GPL-2.0-only
// The services of a line: the entities between a UNI and a T-CONT.
#pragma once

#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// Some managed entities and the place in a report where they are drawn.
struct service {
    std::string title;
    std::vector<me_id> members; ///< may include targets of pointers that do not exist
};

/// One service for each set of ANI-side ports of a bridge that have the same VLANs. An entity may
/// belong to several; the last entry has those that belong to none, if there are any.
[[nodiscard]] std::vector<service> services_of(const line_model& entities);

/// Whether the report draws the pointer: by convention a mapper's entry 0 means no pointer.
[[nodiscard]] bool is_drawn(const line_model& entities, const me_pointer& pointer);

/// A pointer, or the entries of a mapper that are equal.
struct pointer_bundle {
    me_pointer pointer;
    std::vector<unsigned> priorities; ///< of a mapper's entries
};
[[nodiscard]] std::vector<pointer_bundle> bundled_pointers(const line_model& entities,
                                                           const me_instance& from);

/// The instance that a tagging operation belongs to by its id, or an id of class 0.
[[nodiscard]] me_id tagged_by(const line_model& entities, me_id operation);

} // namespace gponflow
