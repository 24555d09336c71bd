// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <iosfwd>

#include "tool/report/collect.h"

namespace gponflow {

/// Prints the data of a report as the document gponflow-report-1.
void print_report_json(const report_data& data, std::ostream& out);

} // namespace gponflow
