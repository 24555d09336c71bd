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
    size_t depth = 0;                   ///< 0 where the frame enters
    bool passed = false;                ///< on the path of the frame
    std::vector<std::string> decisions; ///< filters and priorities, with their operands
    std::string dead_end;               ///< why this branch ended here; empty if it continued
};

/// The log of one hook call as data.
struct walk_story {
    std::vector<walk_step> steps;        ///< in the order of the walk
    bool ran = false;                    ///< the engine classified the frame
    bool replayed = false;               ///< a rule was replayed; the steps are those of the rule
    bool learnt = false;                 ///< a rule was added
    std::vector<std::string> complaints; ///< errors that belong to no step
    unsigned fwd_flag = 0;               ///< direction of the walk: an enum fwd_flag of
                                         ///< include/packet_flow.h, 0 when the log has no walk
    bool dropped = false;                ///< the log reports that the frame failed
    bool inconsistent = false;           ///< enter and leave messages do not match:
                                         ///< lines of another frame are mixed in, or missing
};

/// Index of the deepest step that ended a branch; nothing if no branch ended.
[[nodiscard]] std::optional<size_t> deepest_dead_end(const walk_story& story);

/// The same for all branches of that depth, in the order of the walk. Only the user knows which of
/// them should have continued.
[[nodiscard]] std::vector<size_t> deepest_dead_ends(const walk_story& story);

/// Indices of the steps from the entry of the frame to `last`.
[[nodiscard]] std::vector<size_t> branch_to(const walk_story& story, size_t last);

} // namespace gponflow
