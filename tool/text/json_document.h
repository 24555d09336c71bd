// SPDX-License-Identifier: GPL-2.0-only
// The JSON documents that the tool prints.
#pragma once

#include <iosfwd>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace gponflow {

using json = nlohmann::ordered_json;

/// An object whose first member names its schema: {"schema": "gponflow-check-1"} for "check". The
/// file docs/schemas/gponflow-check-1.schema.json describes the other members. The version grows
/// when a member is removed or changes its meaning, not when one is added.
[[nodiscard]] json json_document(std::string_view name, unsigned version = 1);

/// Adds "changed": the module changed while the content was read, so records may be missing or
/// contained twice. A document without a change has no such member.
void note_change(json& document, bool changed);

/// Prints with indentation and a line feed. File names may contain any bytes: those that are no
/// UTF-8 are replaced.
void print_json(const json& document, std::ostream& out);

/// The same on one line, for a stream of documents.
void print_json_line(const json& document, std::ostream& out);

} // namespace gponflow
