// SPDX-License-Identifier: GPL-2.0-only
// The instances of a replay: its log names few of them, the rule names all.
#pragma once

#include <vector>

#include "tool/explain/walk_story.h"
#include "tool/live/rule_table.h"
#include "tool/scenario/captured_run.h"

namespace gponflow {

/// Replaces the logged steps by the steps of the rule and keeps the decisions.
void name_replay(walk_story& story, const dumped_rule& rule);

/// The same with the rule of a frame that was just replayed, from the rule table of the module.
/// Throws refusal.
void name_replay(walk_story& story, captured_run& runner, const packet_options& options,
                 const bytes& frame);

/// The rule that matches the logged steps of the replay; null if none or more than one matches.
[[nodiscard]] const dumped_rule* rule_of_replay(const walk_story& story,
                                                const std::vector<dumped_rule>& rules);

} // namespace gponflow
