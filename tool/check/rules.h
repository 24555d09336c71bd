// SPDX-License-Identifier: GPL-2.0-only
// The rules of `gponflow check`.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace gponflow {

enum class finding_weight : uint8_t {
    problem, ///< frames are dropped or misdirected
    warning, ///< probably a mistake, but no frame is known to be affected
    note     ///< the path of a frame through the module does not depend on it
};

/// "problem", "warning" or "note".
[[nodiscard]] const char* name_of(finding_weight weight);

struct check_rule {
    std::string_view name;   ///< words with hyphens, for scripts
    finding_weight weight;   ///< of its findings, unless a finding has a lower one
    bool on_request;         ///< an operator cannot change it: shown only on request
    std::string_view clause; ///< of ITU-T G.988; empty: a limit of the module
    std::string_view title;
    std::string_view explanation;
};

/// All rules, in the order of the documentation.
[[nodiscard]] std::span<const check_rule> check_rules();

/// Null without a rule of that name.
[[nodiscard]] const check_rule* find_rule(std::string_view name);

/// For suggestions.
[[nodiscard]] std::vector<std::string_view> rule_names();

} // namespace gponflow
