// SPDX-License-Identifier: GPL-2.0-only
// The rule of a frame in the module of this process.
#pragma once

#include <cstdint>
#include <optional>

#include "tool/scenario/backend.h"

struct sk_buff;

namespace gponflow {

/// For backend::find_rule: the packet of a hook call of this kind. Not while a hook call runs.
[[nodiscard]] std::optional<rule_place> find_host_rule(uint32_t kind, const sk_buff& packet);

} // namespace gponflow
