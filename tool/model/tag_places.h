// SPDX-License-Identifier: GPL-2.0-only
// Where the tagging operations of a line belong.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// The instance that an operation belongs to, even if it does not exist. Nothing if the association
/// is not known or is of a class that the module does not mirror.
[[nodiscard]] std::optional<me_id> place_of(const line_model& entities, me_id operation);

/// Why place_of returns nothing, or its instance does not exist; empty otherwise.
[[nodiscard]] std::string placement_fault(const line_model& entities, me_id operation);

/// The lines that associated the operation; empty if none did.
[[nodiscard]] std::vector<attribute_source> placement_sources(const line_model& entities,
                                                              me_id operation);

/// The operations that belong to an instance, by class and id.
[[nodiscard]] std::vector<me_id> operations_at(const line_model& entities, me_id place);

} // namespace gponflow
