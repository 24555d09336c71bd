// SPDX-License-Identifier: GPL-2.0-only
// The module's table of rules, from the text that it prints.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/live/flow_key.h"
#include "tool/model/line_model.h"

namespace gponflow {

struct dumped_rule {
    uint32_t hash = 0;  ///< of its bucket
    uint16_t index = 0; ///< in the bucket
    uint16_t port = 0;
    flow_key key;
    std::vector<me_id> steps; ///< instances on the path of a replay
    /// Only from a reader of records: frames that used the rule after the first one, and the time
    /// since the last use (module_reader.h).
    std::optional<uint64_t> hits;
    std::optional<uint64_t> idle_ms;
};

struct rule_table {
    unsigned total = 0;
    unsigned buckets = 0;
    unsigned threshold = 0; ///< rules at which the table grows
    std::vector<dumped_rule> rules;

    /// Null when the table has no such rule.
    [[nodiscard]] const dumped_rule* find(const flow_key& key) const;
};

/// Reads the output of "show flow_rule", with other lines of the log in between. Nothing when the
/// text has no table.
[[nodiscard]] std::optional<rule_table> read_rule_table(std::string_view log);

/// "MAC_BRIDGE_PORT_CON_DATA 0x1001 > GEM_INTERWORK_TP 0x0011".
[[nodiscard]] std::string path_text(const std::vector<me_id>& steps,
                                    std::string_view separator = " > ");

} // namespace gponflow
