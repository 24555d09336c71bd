// SPDX-License-Identifier: GPL-2.0-only
// The findings of the rules, while they are applied.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/check/check.h"

namespace gponflow {

class finding_list {
public:
    /// With the weight of the rule. The rule exists: a wrong name is an error of the program.
    void add(const me_instance& entity, std::string_view rule, std::string reason,
             std::string change);

    /// With another weight.
    void add(const me_instance& entity, std::string_view rule, finding_weight weight,
             std::string reason, std::string change);

    /// At an operation, which need not be an instance.
    void add(me_id id, unsigned line, std::string_view rule, std::string reason,
             std::string change);

    [[nodiscard]] std::vector<finding> take() { return std::move(all_); }

private:
    std::vector<finding> all_;
};

} // namespace gponflow
