// SPDX-License-Identifier: GPL-2.0-only
// The parts of a report as values for the template of the page.
#pragma once

#include <kainjow/mustache.hpp>

#include "tool/report/collect.h"
#include "tool/report/drawing.h"

namespace gponflow {

using template_value = kainjow::mustache::data;

// Each is a list with one entry per row.
[[nodiscard]] template_value direction_values(const report_data& data);
[[nodiscard]] template_value drop_values(const report_data& data, const entity_numbers& numbers);
[[nodiscard]] template_value flow_values(const report_data& data, const entity_numbers& numbers);
[[nodiscard]] template_value rule_values(const report_data& data, const entity_numbers& numbers);
[[nodiscard]] template_value finding_values(const report_data& data);
/// Counters of a running module that are not 0.
[[nodiscard]] template_value counter_values(const report_data& data);
[[nodiscard]] template_value service_values(const report_data& data, const entity_numbers& numbers);
/// By class, in the order of the class table.
[[nodiscard]] template_value entity_values(const report_data& data, const entity_numbers& numbers);

} // namespace gponflow
