// SPDX-License-Identifier: GPL-2.0-only
// Carries a frame through the tagging operations of a line, where the platform applies them: those
// of the UNI before hook call kind 0, those of bridge ports, mappers and GEM IW TPs between the
// kinds 0 and 1. Downstream the same places in the other direction.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// One operation that was applied.
struct tag_step {
    me_id operation;
    me_id at;        ///< what the operation belongs to
    std::string row; ///< the row or mode that decided, in words
    bytes before;
    bytes after;
    bool discarded = false; ///< the operation drops the frame
    std::string note{};     ///< what other ONUs may do with the frame; mostly empty
    std::vector<attribute_source> sources{}; ///< of the row or mode first, then of what it uses
};

/// An operation whose effect is not known.
struct tag_gap {
    me_id operation;
    std::string why;
    std::vector<attribute_source> sources{}; ///< of what prevents it; empty if nothing was set
    bool frame_ends = false; ///< the frame ends before a field that the operation reads
};

struct carried_frame {
    bytes frame;                 ///< after all steps
    std::vector<tag_step> steps; ///< in order; after a discarding one there is none
    std::vector<tag_gap> gaps;   ///< operations that exist here and were not applied
    bool discarded = false;
};

/// Upstream from the wire to hook call kind 0. `uni` is a PPTP or VEIP.
[[nodiscard]] carried_frame carry_from_uni(const line_model& entities, me_id uni,
                                           const bytes& frame);

/// Upstream between hook calls kind 0 and 1: the bridge port of the UNI, then the ANI side of its
/// bridge. Of several ports with operations, and of several bridges, the first one whose filter and
/// mapper accept the frame that they produce decides; if there is none, their operations are gaps.
[[nodiscard]] carried_frame carry_to_ani(const line_model& entities, me_id uni, const bytes& frame);

/// Downstream between hook calls kind 3 and 2. `path` are the instances of the walk of kind 3.
[[nodiscard]] carried_frame carry_from_ani(const line_model& entities,
                                           const std::vector<me_id>& path, const bytes& frame);

/// Downstream from hook call kind 2 to the wire: the ports of the UNI in the bridge, or all of
/// them, then the UNI.
[[nodiscard]] carried_frame carry_to_uni(const line_model& entities, me_id uni, const bytes& frame,
                                         std::optional<uint16_t> bridge = {});

/// The UNIs of a bridge: those that a frame from the fibre may leave by.
[[nodiscard]] std::vector<me_id> unis_of(const line_model& entities, me_id bridge);

/// A frame from the fibre as it leaves by one UNI.
struct leaving_frame {
    me_id uni;
    carried_frame carried; ///< both halves
};

/// Downstream from hook call kind 3, whose walk passed through `path`, to each UNI of the bridge.
[[nodiscard]] std::vector<leaving_frame>
carry_to_unis(const line_model& entities, const std::vector<me_id>& path, const bytes& frame);

/// Continues `first` with the steps of `then`, whose frame is that after `first`.
void append(carried_frame& first, carried_frame then);

/// The gaps of a frame before a hook call, then those after it: each operation once, and none that
/// was applied before.
[[nodiscard]] std::vector<tag_gap> gaps_of_both_halves(const carried_frame& before,
                                                       std::vector<tag_gap> after);

/// Operations that belong to instances of a walk, and those whose place is not known: where a frame
/// is taken as it is at a hook call, they are not applied.
[[nodiscard]] std::vector<tag_gap> unapplied_operations(const line_model& entities,
                                                        const std::vector<me_id>& path);

} // namespace gponflow
