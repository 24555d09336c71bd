// SPDX-License-Identifier: GPL-2.0-only
// The path of one frame through the managed entities, as data.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// One instance that the walk, or the replay of a rule, tried.
struct walk_step {
    me_id at;
    size_t depth = 0;                   ///< 0 where the frame enters
    bool passed = false;                ///< on the way that the frame took
    std::vector<std::string> decisions; ///< filters and priorities, with their operands
    std::string dead_end;               ///< why this branch ended here; empty when it did not
};

/// What the log of one hook call says.
struct walk_story {
    std::vector<walk_step> steps;        ///< in the order in which they were tried
    bool ran = false;                    ///< the engine looked at the frame at all
    bool replayed = false;               ///< a rule was there; the steps are those of the rule
    bool learnt = false;                 ///< a rule was added
    std::vector<std::string> complaints; ///< errors that belong to no step
    unsigned fwd_flag = 0;               ///< direction of the walk: 2 up from the UNI, 1 up to the
                                         ///< ANI, 4 down from the ANI; 0 when the log has no walk
    bool dropped = false;                ///< the log says that the frame failed
    bool garbled = false;                ///< what is entered and what is left do not fit together:
                                         ///< lines of another frame are among these, or some lack
};

/// Index of the deepest step that ended a branch; nothing when none did.
[[nodiscard]] std::optional<size_t> deepest_dead_end(const walk_story& story);

/// The same of all branches that came equally far, in the order in which they were tried: which of
/// them should have led on, only a reader can know.
[[nodiscard]] std::vector<size_t> deepest_dead_ends(const walk_story& story);

/// Indices of the steps from where the frame entered to that one.
[[nodiscard]] std::vector<size_t> branch_to(const walk_story& story, size_t last);

} // namespace gponflow
