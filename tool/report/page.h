// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>

#include "tool/report/collect.h"

namespace gponflow {

/// The report as one self-contained HTML page. All text from outside is escaped.
[[nodiscard]] std::string report_page(const report_data& data);

} // namespace gponflow
