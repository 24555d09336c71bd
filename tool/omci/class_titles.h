// SPDX-License-Identifier: GPL-2.0-only
// Titles of classes, so that a list of classes that are not mirrored reads without the standard at
// hand.
#pragma once

#include <cstdint>
#include <string>

namespace gponflow::omci {

/// "MAC bridge service profile", also for common classes that are not mirrored; "class 999" for
/// the others.
[[nodiscard]] std::string class_title(uint16_t id);

} // namespace gponflow::omci
