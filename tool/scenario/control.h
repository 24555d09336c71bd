// SPDX-License-Identifier: GPL-2.0-only
// The commands that reach the module as control records through its one ioctl.
#pragma once

#include <optional>

#include "tool/scenario/backend.h"

namespace gponflow {

/// Build the record, hand it over and answer what the ioctl answered; nothing when the character
/// device is not there. All throw refusal.
std::optional<long> send(backend& to, const me_command& what);
std::optional<long> send(backend& to, const config_command& what);
std::optional<long> send(backend& to, const debug_command& what);
std::optional<long> send(backend& to, const clean_command& what);
std::optional<long> send(backend& to, const ioctl_command& what);

} // namespace gponflow
