// SPDX-License-Identifier: GPL-2.0-only
// Rules, managed entities and state of the module as JSON.
#pragma once

#include <vector>

#include "tool/live/module_status.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// One rule as an object.
[[nodiscard]] json rule_json(const dumped_rule& rule);

/// One document each, described in docs/json.md.
[[nodiscard]] json rules_document(const rule_table& table);
[[nodiscard]] json instances_document(const std::vector<dumped_instance>& all);
[[nodiscard]] json status_document(const module_status& status);

} // namespace gponflow
