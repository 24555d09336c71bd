// SPDX-License-Identifier: GPL-2.0-only
// The drawing of a service, from the subscriber on the left to the fibre on the right.
#pragma once

#include <map>
#include <string>

#include "tool/report/services.h"

namespace gponflow {

/// Numbers of the instances in the table of entities of a report.
using entity_numbers = std::map<me_id, size_t>;
[[nodiscard]] entity_numbers number_entities(const line_model& entities);

/// An <svg> element. A box is a link to the row of its instance, #eNUMBER; the style of the page
/// gives boxes their size. A line has the numbers of both ends.
[[nodiscard]] std::string draw_service(const line_model& entities, const service& drawn,
                                       const entity_numbers& numbers);

} // namespace gponflow
