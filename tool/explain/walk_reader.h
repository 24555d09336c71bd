// SPDX-License-Identifier: GPL-2.0-only
// Parses the log of a walk. The texts are part of the behaviour of the module.
#pragma once

#include <string>

#include "tool/explain/walk_story.h"

namespace gponflow {

/// Reads the log text of one hook call, with all log levels or of a marked frame. Values that no
/// message contains come from the entities, and from the frame unless it is null.
[[nodiscard]] walk_story read_walk(const std::string& log, const line_model& entities,
                                   const bytes* frame = nullptr);

} // namespace gponflow
