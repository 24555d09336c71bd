// SPDX-License-Identifier: GPL-2.0-only
// Titles of classes. Those of the mirrored ones are in src/include/me_classes.def; a list of
// classes that are not mirrored is readable without the standard.
#pragma once

#include <cstdint>
#include <string_view>

namespace gponflow {

/// Numbers of classes that the module does not store and the tool knows more about than the title.
namespace unstored_class {
constexpr uint16_t software_image = 7;
constexpr uint16_t xdsl_uni = 98;
constexpr uint16_t ip_host = 134;
constexpr uint16_t moca_uni = 162;
constexpr uint16_t onu_g = 256;
constexpr uint16_t onu2_g = 257;
constexpr uint16_t ethernet_flow_tp = 286;
constexpr uint16_t mpls_pseudowire_tp = 333;
constexpr uint16_t efm_bonding_group = 418;
} // namespace unstored_class

/// "MAC bridge service profile" for class 45 (ITU-T G.988 clause 9), also for common classes that
/// are not mirrored; empty for the others.
[[nodiscard]] std::string_view find_title(uint16_t class_number);

/// "Bridge" for class 45: a short title; empty for a class that is not mirrored.
[[nodiscard]] std::string_view find_caption(uint16_t class_number);

} // namespace gponflow
