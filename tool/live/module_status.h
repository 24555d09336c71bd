// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "tool/live/instances.h"
#include "tool/live/module_reader.h"
#include "tool/live/rule_table.h"
#include "tool/scenario/captured_run.h"

namespace gponflow {

struct module_status {
    bool loaded = false;
    bool enabled = false; ///< the engine classifies frames
    rule_table rules;
    std::vector<dumped_instance> instances;
};

/// Queries the module for its switch, rules and instances. Throws refusal.
[[nodiscard]] module_status read_status(captured_run& run);

/// Of a module that is loaded. Throws refusal.
[[nodiscard]] module_status read_status(module_reader& reader);

/// Whether the engine classifies frames, from the output of "show en_flag"; nothing when the text
/// does not say.
[[nodiscard]] std::optional<bool> read_switch(std::string_view log);

} // namespace gponflow
