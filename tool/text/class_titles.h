// SPDX-License-Identifier: GPL-2.0-only
// Titles of classes. Those of the mirrored ones are in src/include/me_classes.def; a list of
// classes that are not mirrored is readable without the standard.
#pragma once

#include <cstdint>
#include <string_view>

namespace gponflow {

/// "MAC bridge service profile" for class 45 (ITU-T G.988 clause 9), also for common classes that
/// are not mirrored; empty for the others.
[[nodiscard]] std::string_view find_title(uint16_t class_number);

/// "Bridge" for class 45: a short title; empty for a class that is not mirrored.
[[nodiscard]] std::string_view find_caption(uint16_t class_number);

} // namespace gponflow
