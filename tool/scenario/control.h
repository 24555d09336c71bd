// SPDX-License-Identifier: GPL-2.0-only
// The commands that reach the module as control records through its one ioctl.
#pragma once

#include <optional>
#include <string_view>

#include "tool/scenario/backend.h"

namespace gponflow {

/// Build the record, pass it to the ioctl and return the result of the ioctl; nothing when the
/// character device is missing. All throw refusal.
[[nodiscard]] std::optional<long> send(backend& to, const me_command& command);
[[nodiscard]] std::optional<long> send(backend& to, const config_command& command);
[[nodiscard]] std::optional<long> send(backend& to, const debug_command& command);
[[nodiscard]] std::optional<long> send(backend& to, const clean_command& command);
[[nodiscard]] std::optional<long> send(backend& to, const ioctl_command& command);

/// Writes an operator's command to the proc entry or, without one, to the character device. Nothing
/// when neither exists. Throws refusal.
[[nodiscard]] std::optional<long> send_line(backend& to, std::string_view line);

} // namespace gponflow
