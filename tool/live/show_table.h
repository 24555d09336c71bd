// SPDX-License-Identifier: GPL-2.0-only
// Rules, managed entities and state of the module as tables.
#pragma once

#include <iosfwd>
#include <vector>

#include "tool/live/module_status.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Tables: titles, and a line an entry.
void print_rules(const rule_table& table, std::ostream& out, const palette& colours);
void print_instances(const std::vector<dumped_instance>& all, std::ostream& out,
                     const palette& colours);
void print_status(const module_status& status, std::ostream& out, const palette& colours);

} // namespace gponflow
