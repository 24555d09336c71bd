// SPDX-License-Identifier: GPL-2.0-only
// The command `tagging`: attributes of tagging operations, which the module does not store.
#pragma once

#include <span>

#include "tool/scenario/command.h"
#include "tool/scenario/words.h"

namespace gponflow {

/// Parses the words after the name of the command. Throws syntax_error.
[[nodiscard]] any_command parse_tagging(std::span<const word> words);

} // namespace gponflow
