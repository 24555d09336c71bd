// SPDX-License-Identifier: GPL-2.0-only
// What the module shows of itself, as tables for people and as JSON.
#pragma once

#include <iosfwd>
#include <optional>
#include <vector>

#include "tool/live/dump.h"
#include "tool/text/terminal.h"

namespace gponflow {

struct module_status {
    bool loaded = false;
    bool enabled = false; ///< the engine looks at frames
    rule_table rules;
    std::vector<dumped_instance> instances;
};

/// Tables: titles, and a line an entry.
void print_rules(const rule_table& table, std::ostream& out, const palette& colours);
void print_instances(const std::vector<dumped_instance>& all, std::ostream& out,
                     const palette& colours);
void print_status(const module_status& status, std::ostream& out, const palette& colours);

/// The same, one JSON object each, described in docs/tools.md.
void print_rules_json(const rule_table& table, std::ostream& out);
void print_instances_json(const std::vector<dumped_instance>& all, std::ostream& out);
void print_status_json(const module_status& status, std::ostream& out);

/// "MAC_BRIDGE_PORT_CON_DATA 0x1001 > GEM_INTERWORK_TP 0x0011".
std::string way_text(const std::vector<me_id>& steps);

} // namespace gponflow
