// SPDX-License-Identifier: GPL-2.0-only
// Which instances the replay of a rule went through: its log names few of them, the rule all.
#pragma once

#include <vector>

#include "tool/explain/walk_story.h"
#include "tool/live/rule_table.h"

namespace gponflow {

/// The steps of the rule in place of those that the log has told of, with what was decided there.
void name_replay(walk_story& story, const dumped_rule& rule);

/// The only one of the rules that the replay can have been by what the log has told of it;
/// null when there is none or more than one.
const dumped_rule* rule_of_replay(const walk_story& story, const std::vector<dumped_rule>& rules);

} // namespace gponflow
