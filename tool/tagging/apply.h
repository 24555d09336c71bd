// SPDX-License-Identifier: GPL-2.0-only
// Applies a tagging operation to a frame (ITU-T G.988 clauses 9.3.12 and 9.3.13).
//
// Upstream, the first row that matches the tags and the EtherType of the frame rewrites it. Tags
// that a row adds are placed outside the tags that remain, the outer one first. For single-tagged
// frames "inner" and "outer" tag mean the same tag.
//
// Downstream, the first row whose result the frame could be is inverted. Fields that the filter of
// the row does not fix and the treatment does not copy become 0. TPIDs are not compared downstream.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tool/tagging/frame_tags.h"
#include "tool/tagging/operation.h"

namespace gponflow {

enum class tag_outcome {
    passed,    ///< rewritten or unchanged
    discarded, ///< the operation drops the frame
    unknown    ///< the effect of the operation is not known: the frame is unchanged
};

struct tag_rewriting {
    tag_outcome outcome = tag_outcome::passed;
    std::vector<uint8_t> frame; ///< after the operation
    std::string row;            ///< the row or mode that decided, in words
    std::string why;            ///< unknown: the reason
    std::string note;           ///< what other ONUs may do with the frame; mostly empty
    /// Of what decided, see sources.h; of an unknown effect, of what prevents it. Empty if the
    /// frame itself does.
    std::vector<attribute_source> sources;
    bool frame_ends = false; ///< unknown: the frame ends before a field that the operation reads
};

[[nodiscard]] tag_rewriting rewrite_upstream(const tag_operation& operation,
                                             std::span<const uint8_t> frame);
[[nodiscard]] tag_rewriting rewrite_downstream(const tag_operation& operation,
                                               std::span<const uint8_t> frame);

/// The row that applies to upstream frames with these tags, EtherType and extended criterion; null
/// if none does. Without a criterion, the frame fits each.
[[nodiscard]] const table_row* matching_row(const tag_operation& operation,
                                            const std::vector<frame_tag>& tags, uint16_t ethertype,
                                            std::optional<uint8_t> criterion = {});

} // namespace gponflow
