// SPDX-License-Identifier: GPL-2.0-only
// The inverse of a row of an extended VLAN tagging operation.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tool/tagging/frame_tags.h"
#include "tool/tagging/operation.h"

namespace gponflow {

/// What a downstream mode compares and rewrites; the other field passes through.
struct downstream_match {
    bool vid = true;
    bool priority = true;
};

/// The tags of the frame that the row would rewrite to `sent`; nothing if it rewrites none to it.
/// The row has a defined meaning.
[[nodiscard]] std::optional<std::vector<frame_tag>> inverse_tags(const tag_row& row,
                                                                 const tag_operation& operation,
                                                                 const std::vector<frame_tag>& sent,
                                                                 downstream_match match);

/// Whether a row without a defined meaning may rewrite a frame to `sent`. Reserved values of its
/// filters may match each frame; a treatment that is not defined may have each result.
[[nodiscard]] bool may_produce(const tag_row& row, const tag_operation& operation,
                               const std::vector<frame_tag>& sent, downstream_match match);

} // namespace gponflow
