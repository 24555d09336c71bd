// SPDX-License-Identifier: GPL-2.0-only
// The state that a scenario leaves behind.
#pragma once

#include "tool/model/line_model.h"
#include "tool/scenario/command.h"

namespace gponflow {

/// Applies one line to the entities: me, config and tagging commands change them, clean and load
/// remove them. Other commands change nothing; unload leaves the entities as they were.
void apply(const scenario_line& line, line_model& entities);

/// The managed entities after the last line.
[[nodiscard]] line_model final_entities(const scenario& input);

/// The scenario without its last unload and the lines after it, unless a load follows: the state
/// before that unload is what is of interest.
[[nodiscard]] scenario without_last_unload(scenario input);

/// What the scenario silences, wherever in it.
[[nodiscard]] std::vector<silence> silences_of(const scenario& input);

} // namespace gponflow
