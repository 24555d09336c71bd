// SPDX-License-Identifier: GPL-2.0-only
// The findings of the rules, while they are applied.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/check/check.h"

namespace gponflow {

/// What a finding is about: an instance or a tagging operation, and the line of the scenario that
/// set the attribute or row at fault.
struct finding_place {
    me_id id;
    unsigned line = 0;

    finding_place(me_id of, unsigned set_in) : id(of), line(set_in) {}
    /// The instance as a whole.
    finding_place(const me_instance& of) : id(of.id), line(of.source_line) {}
};

/// Attributes of an instance; of several lines the last one.
[[nodiscard]] finding_place at(const me_instance& entity,
                               std::initializer_list<std::string_view> fields);
/// One element of a list.
[[nodiscard]] finding_place at(const me_instance& entity, std::string_view field, size_t element);

class finding_list {
public:
    /// With the weight of the rule. The rule exists: a wrong name is an error of the program.
    void add(const finding_place& place, std::string_view rule, std::string reason,
             std::string change);

    /// With another weight.
    void add(const finding_place& place, std::string_view rule, finding_weight weight,
             std::string reason, std::string change);

    [[nodiscard]] std::vector<finding> take() { return std::move(all_); }

private:
    std::vector<finding> all_;
};

} // namespace gponflow
