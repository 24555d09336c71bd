// SPDX-License-Identifier: GPL-2.0-only
// Looks for mistakes in a provisioning.
#pragma once

#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

enum class finding_weight {
    problem, ///< frames go astray
    note     ///< nothing that a frame's way through the module depends on
};

struct finding {
    finding_weight weight = finding_weight::problem;
    std::string kind; ///< one word with hyphens, for scripts
    me_id where;
    unsigned line = 0; ///< of the scenario
    std::string reason;
    std::string change; ///< what to do about it
};

/// All findings: problems before notes, each in the order of the scenario.
std::vector<finding> check_provisioning(const line_model& what);

} // namespace gponflow
