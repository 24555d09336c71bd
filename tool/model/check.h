// SPDX-License-Identifier: GPL-2.0-only
// Checks a provisioning for mistakes.
#pragma once

#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

enum class finding_weight {
    problem, ///< frames are dropped or misdirected
    note     ///< the path of a frame through the module does not depend on it
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
