// SPDX-License-Identifier: GPL-2.0-only
// A dropped frame in one sentence.
#pragma once

#include <string>
#include <vector>

#include "tool/report/collect.h"

namespace gponflow {

/// "VLAN 300 with priority 6", "Untagged frames".
[[nodiscard]] std::string tags_in_words(const std::vector<vlan_tag>& tags);

/// What happens to the frames of the row, and which entities decide it.
[[nodiscard]] std::string drop_sentence(const drop_row& drop);

/// The operations that discard the frame, before the hook call or after it. Each of them is the
/// last step of its element.
[[nodiscard]] std::vector<carried_frame> discards_of(const explanation& explained);

/// The steps at which the deepest branches end: those in the bridge that the frame entered, if it
/// is known.
[[nodiscard]] std::vector<size_t> deciding_steps(const explanation& explained);

/// The operations that discard the frame, or the instances that end the deepest branches: a filter
/// if it drops the frame, else the last instance of the branch.
[[nodiscard]] std::vector<me_id> deciding_entities(const explanation& explained);

/// The same walk with at most `most` of the deepest branches, and the number of those left out.
/// Short stories stay whole.
[[nodiscard]] std::pair<explanation, size_t> without_like_branches(const explanation& explained,
                                                                   size_t most);

} // namespace gponflow
