// SPDX-License-Identifier: GPL-2.0-only
// Checks a provisioning for mistakes.
#pragma once

#include <string>
#include <vector>

#include "tool/check/rules.h"
#include "tool/check/silence.h"
#include "tool/model/line_model.h"

namespace gponflow {

struct finding {
    finding_weight weight = finding_weight::problem;
    std::string rule; ///< name of a check_rule
    me_id id;
    unsigned line = 0; ///< of the scenario
    std::string reason;
    std::string change; ///< what to do about it
};

struct check_options {
    bool on_request = false; ///< include the rules that an operator cannot change
    std::vector<silence> silenced;
};

struct check_result {
    std::vector<finding> findings; ///< by weight, each in the order of the scenario
    size_t on_request = 0;         ///< findings left out because they were not requested
    size_t silenced = 0;           ///< findings left out because they are silenced
};

/// Applies all rules.
[[nodiscard]] check_result check_provisioning(const line_model& entities,
                                              const check_options& options = {});

} // namespace gponflow
