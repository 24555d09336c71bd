// SPDX-License-Identifier: GPL-2.0-only
// Managed entities as words: short titles, and attributes with units.
#pragma once

#include <string>
#include <vector>

#include "include/me_class_id.h"
#include "tool/model/line_model.h"

namespace gponflow {

/// "Bridge port", "T-CONT".
[[nodiscard]] std::string kind_text(me_class class_id);

/// The value that people know the instance by: "port 1025", "VLAN 100, 200 p5", "alloc-ID 256"; or
/// nothing.
[[nodiscard]] std::string known_by(const me_instance& me);

/// "100", with its priority when that is not 0: "100 p5".
[[nodiscard]] std::string tci_text(uint16_t tci);

/// All attributes of the instance's record: "cir 1250000 byte/s, pir ...".
[[nodiscard]] std::string attribute_text(const me_instance& me);

/// Equal entries of a mapper as one: "0-3, 7".
[[nodiscard]] std::string priority_list(const std::vector<unsigned>& priorities);

} // namespace gponflow
