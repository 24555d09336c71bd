// SPDX-License-Identifier: GPL-2.0-only
// The lines of a scenario that set what an operation does to a frame.
//
// The first source is that of the row or mode that decides, even if no line set it; those behind it
// are of attributes that the row refers to, if a line set them.
#pragma once

#include <initializer_list>
#include <vector>

#include "tool/tagging/operation.h"

namespace gponflow {

/// Of a row that applies upstream: the input TPID if a filter compares it, the output TPID or the
/// DSCP map if a treatment writes them.
[[nodiscard]] std::vector<attribute_source> upstream_sources(const tag_operation& operation,
                                                             const table_row& row);

/// Of a row that applies downstream, where treatments write no TPID and map no DSCP.
[[nodiscard]] std::vector<attribute_source> downstream_sources(const tag_operation& operation,
                                                               const table_row& row);

/// Of attributes, the deciding one first.
[[nodiscard]] std::vector<attribute_source>
sources_of(const tag_operation& operation, std::initializer_list<tag_attribute> attributes);

/// Of table_fault().
[[nodiscard]] std::vector<attribute_source> table_fault_sources(const tag_operation& operation);

} // namespace gponflow
