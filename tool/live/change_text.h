// SPDX-License-Identifier: GPL-2.0-only
// Changes of the module as text and as JSON.
#pragma once

#include <cstdint>
#include <string>

#include "tool/live/module_reader.h"

namespace gponflow {

/// "learnt   UP_UNI 02:00:00:00:01:01 > 02:00:00:00:00:01 untagged: PPTP_ETHERNET_UNI 0x0101".
[[nodiscard]] std::string text_of(const module_change& change);

/// The document gponflow-change-1 on one line, without a line feed.
[[nodiscard]] std::string json_of(const module_change& change);

/// The same for changes that the kernel dropped.
[[nodiscard]] std::string missing_text(uint32_t count);
[[nodiscard]] std::string missing_json(uint32_t count);

} // namespace gponflow
