// SPDX-License-Identifier: GPL-2.0-only
// Log text to steps. The texts are the module's own and part of its behaviour.
#pragma once

#include <string>

#include "tool/explain/walk_story.h"

namespace gponflow {

/// Reads the log text of one hook call, at full detail or of a marked frame. Numbers in it that no
/// message carries are taken from the mirror, and from the frame unless that is null.
[[nodiscard]] walk_story read_walk(const std::string& log, const mirror& entities,
                                   const bytes* frame = nullptr);

} // namespace gponflow
