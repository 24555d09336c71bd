// SPDX-License-Identifier: GPL-2.0-only
// The commands that pass packets to the hook entry: hook and pcap.
#pragma once

#include <span>

#include "tool/scenario/command.h"
#include "tool/scenario/words.h"

namespace gponflow {

/// Parse the words after the name of the command. Both throw syntax_error.
[[nodiscard]] any_command parse_hook(std::span<const word> words);
[[nodiscard]] any_command parse_pcap(std::span<const word> words);

} // namespace gponflow
