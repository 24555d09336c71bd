// SPDX-License-Identifier: GPL-2.0-only
// Runs a scenario against a backend.
#pragma once

#include <iosfwd>

#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"
#include "tool/text/exit_status.h"

namespace gponflow {

/// Writes the transcript to `out`, and to `diagnostics` why the backend refused.
[[nodiscard]] exit_status run_scenario(const scenario& input, backend& target, std::ostream& out,
                                       std::ostream& diagnostics, bool mask_lines);

} // namespace gponflow
