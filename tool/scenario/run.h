// SPDX-License-Identifier: GPL-2.0-only
// Runs a scenario against a backend.
#pragma once

#include <iosfwd>

#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"

namespace gponflow {

enum exit_status {
    all_held = 0, ///< every command ran and every expect held
    expectation_failed = 1,
    not_understood = 2, ///< bad arguments, a faulty line or an unreadable file: nothing ran
    not_supported = 3   ///< the backend refused and the run stopped there, or standard output did
};

/// Writes the transcript to `out`, and to `diagnostics` why the backend refused.
exit_status run_scenario(const scenario& what, backend& where, std::ostream& out,
                         std::ostream& diagnostics, bool mask_lines);

} // namespace gponflow
