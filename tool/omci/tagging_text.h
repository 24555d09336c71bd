// SPDX-License-Identifier: GPL-2.0-only
// Attributes of tagging operations as lines of a scenario: the module does not store them, but the
// tool carries frames through the operations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "include/me_class_id.h"
#include "tool/omci/mib.h"

namespace gponflow::omci {

/// What a `tagging` line says about the rows that a table has before.
enum class table_start {
    unchanged,
    with_default_rows, ///< the operation is new
    with_unknown_rows  ///< nothing shows them
};

/// Whether an attribute (by its index in attribute_class) becomes part of a `tagging` line.
[[nodiscard]] bool is_tagging_attribute(me_class class_id, size_t index);

/// The `tagging` line for the attributes of a command, with a comment that describes a row of the
/// table. Empty for other classes and attributes. Only class 171 has a table.
[[nodiscard]] std::string tagging_lines(me_class class_id, uint16_t instance, table_start start,
                                        const value_list& list);

/// A table of class 171 that the OLT has read.
struct read_table {
    std::vector<uint8_t> bytes;      ///< rows; bytes at the end that are no whole row are ignored
    std::vector<std::string> frames; ///< by row: those of the response that completes it
};

/// The lines for all rows of a table. A comment names the frames of rows that the response of
/// `frames` does not complete: the lines stand below a comment with these.
[[nodiscard]] std::string table_lines(uint16_t instance, const read_table& table,
                                      const std::string& frames);

/// Whether the attributes contain a row of class 171.
[[nodiscard]] bool has_tag_row(me_class class_id, const value_list& list);

} // namespace gponflow::omci
