// SPDX-License-Identifier: GPL-2.0-only
// Tagging operations on the path of a frame as text and as JSON.
#pragma once

#include <iosfwd>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tool/model/carry.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Prints the tags of the frame as it arrives, each operation with the row that decided and the
/// places where it was set, and the tags as it leaves. Nothing if there are no operations.
void print_tagging(const carried_frame& carried, const line_places& places, std::ostream& out,
                   const palette& colours = {});

/// "OPERATION: an operation exists here and was not applied: REASON (set in line 12)".
[[nodiscard]] std::string gap_text(const tag_gap& gap, const line_places& places);

/// {"steps": [...], "not_applied": [...], "discarded": false}
[[nodiscard]] nlohmann::ordered_json tagging_json(const carried_frame& carried,
                                                  const line_places& places);

} // namespace gponflow
