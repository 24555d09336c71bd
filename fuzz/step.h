// SPDX-License-Identifier: GPL-2.0-only
// One command of a scenario as a few bytes, encoded so that most changes of a byte produce another
// meaningful command.
#pragma once

#include <optional>

#include "fuzz/byte_source.h"
#include "tool/scenario/command.h"

namespace gponflow::fuzz {

/// Decodes one command. All bytes are valid.
any_command take_step(byte_source& from);

/// The packet and the frame of a hook call.
hook_command take_packet(byte_source& from);

/// Encodes the command; no value for one that take_step never returns.
std::optional<bytes> bytes_of(const any_command& step);

/// Encodes a packet for take_packet. Frames are cut to 255 bytes.
bytes bytes_of_packet(const hook_command& call);

} // namespace gponflow::fuzz
