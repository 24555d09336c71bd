// SPDX-License-Identifier: GPL-2.0-only
// The commands that carry a record of named fields: me and config.
#pragma once

#include <span>

#include "include/me_class_id.h"
#include "tool/scenario/command.h"
#include "tool/scenario/values.h"
#include "tool/scenario/words.h"

namespace gponflow {

/// Parse the words after the name of the command. Both throw syntax_error.
[[nodiscard]] any_command parse_me(std::span<const word> words);
[[nodiscard]] any_command parse_config(std::span<const word> words);

/// A class by name or number. Throws syntax_error.
[[nodiscard]] me_class read_class(const value& from);

} // namespace gponflow
