// SPDX-License-Identifier: GPL-2.0-only
// Attributes of tagging operations as lines of a scenario: the module does not store them, but the
// tool carries frames through the operations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tool/omci/mib.h"

namespace gponflow::omci {

/// Whether an attribute (by its index in attribute_class) becomes part of a `tagging` line.
[[nodiscard]] bool is_tagging_attribute(uint16_t class_id, size_t index);

/// The `tagging` line for the attributes of a command, with a comment that describes a row of the
/// table. A create also starts the table. Empty for other classes and attributes.
[[nodiscard]] std::string tagging_lines(uint16_t class_id, uint16_t instance, bool created,
                                        const value_list& list);

} // namespace gponflow::omci
