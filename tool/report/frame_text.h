// SPDX-License-Identifier: GPL-2.0-only
// Frames in words and digits.
#pragma once

#include <string>

#include "tool/scenario/command.h"

namespace gponflow {

/// What is behind the tags: "IPv4 UDP", "ARP", "type 0x88cc"; "cut short" when the frame ends
/// first.
std::string type_text(const bytes& frame);

/// Lines of 16 bytes: offset, digits, and what of them is ASCII.
std::string hex_dump(const bytes& frame);

} // namespace gponflow
