// SPDX-License-Identifier: GPL-2.0-only
// One command of a scenario as a few bytes, in a form in which most changes of a byte give another
// meaningful command.
#pragma once

#include <optional>

#include "fuzz/byte_source.h"
#include "tool/scenario/command.h"

namespace gponflow::fuzz {

/// Takes one command. Any bytes mean one.
any_command take_step(byte_source& from);

/// The packet and the frame of a hook call.
hook_command take_packet(byte_source& from);

/// The bytes that mean the command; nothing for one that take_step never gives.
std::optional<bytes> bytes_of(const any_command& what);

/// The bytes of take_packet. Frames are cut to 255 bytes.
bytes bytes_of_packet(const hook_command& what);

} // namespace gponflow::fuzz
