// SPDX-License-Identifier: GPL-2.0-only
// Frames as text.
#pragma once

#include <string>

#include "tool/scenario/command.h"

namespace gponflow {

/// The protocol after the tags: "IPv4 UDP", "ARP", "type 0x88cc"; "cut short" if the frame ends
/// before.
std::string type_text(const bytes& frame);

/// Lines of 16 bytes: offset, digits and ASCII characters.
std::string hex_dump(const bytes& frame);

} // namespace gponflow
