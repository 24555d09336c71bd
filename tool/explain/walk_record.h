// SPDX-License-Identifier: GPL-2.0-only
// The path of one frame through the managed entities, as data.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// One instance that the walk or the replay of a rule tried.
struct walk_step {
    me_id at;
    size_t depth = 0;    ///< 0 where the frame enters
    bool passed = false; ///< on the path of the frame; in a replay also a step that refuses it
    std::vector<std::string> decisions; ///< filters and priorities, with their operands
    std::string dead_end;               ///< why this branch ended here; empty if it continued
    /// That led on from here, or towards here, but has no link: why this branch ended here.
    std::optional<me_pointer> broken_link{};
    bool failed = false; ///< could not be made or decided: the cause of a drop, even
                         ///< if other branches are deeper; the end of a replay
};

/// The events of one hook call as data.
struct walk_record {
    std::vector<walk_step> steps; ///< in the order of the walk
    bool ran = false;             ///< the engine classified the frame
    bool replayed = false;        ///< a rule was replayed; the steps are those of the rule
    bool learnt = false;          ///< a rule was added
    bool dropped = false;         ///< the frame failed
    bool incomplete = false;      ///< events are missing
    bool end_lost = false;        ///< among them the one that ends the path
    bool unseen = false;          ///< all are missing, though the module classified the frame
    unsigned fwd_flag = 0;        ///< direction of the walk: an enum fwd_flag of
                                  ///< include/packet_flow.h, 0 without an event
    uint16_t tci = 0;             ///< outer tag as filters and mappers read it; 0 is untagged
    unsigned gem_port = 0;        ///< chosen upstream to the ANI; 0 without one
    std::optional<uint16_t> entry_gem{}; ///< GEM port that a downstream frame came from, if known
    std::string other_failure; ///< why the frame failed, if no step of a walk is the cause
};

/// Index of the deepest step that ended a branch, or of one that failed; of equally deep ones, a
/// step that only lacks the link to the next one precedes a refusal. Nothing if no
/// branch ended or no step of a walk is the cause of a failure.
[[nodiscard]] std::optional<size_t> deepest_dead_end(const walk_record& walk);

/// The same for all branches of that depth, in the order of the walk. Only the user knows which of
/// them should have continued.
[[nodiscard]] std::vector<size_t> deepest_dead_ends(const walk_record& walk);

/// Indices of the steps from the entry of the frame to `last`.
[[nodiscard]] std::vector<size_t> branch_to(const walk_record& walk, size_t last);

} // namespace gponflow
