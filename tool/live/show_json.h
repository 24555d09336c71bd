// SPDX-License-Identifier: GPL-2.0-only
// Rules, managed entities and state of the module as JSON.
#pragma once

#include <iosfwd>
#include <vector>

#include "tool/live/module_status.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// One rule as an object.
[[nodiscard]] json rule_json(const dumped_rule& rule);

/// One JSON document each, described in docs/tools.md.
void print_rules_json(const rule_table& table, std::ostream& out);
void print_instances_json(const std::vector<dumped_instance>& all, std::ostream& out);
void print_status_json(const module_status& status, std::ostream& out);

} // namespace gponflow
