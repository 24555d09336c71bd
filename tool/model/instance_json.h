// SPDX-License-Identifier: GPL-2.0-only
// Managed entities as parts of JSON documents.
#pragma once

#include "tool/model/line_model.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// {"class": "GEM_PORT_CTP", "class_id": 268, "instance": 1}; the name of an unknown class is
/// empty.
[[nodiscard]] json id_json(me_id id);

/// The attributes of the raw record, name to number or array.
[[nodiscard]] json attributes_json(const me_instance& me);

/// [{"attribute": "row", "line": 24, "frame": 83}]: those that a line set; "frame" only of a
/// converted capture.
[[nodiscard]] json sources_json(const std::vector<attribute_source>& sources,
                                const line_places& places);

} // namespace gponflow
