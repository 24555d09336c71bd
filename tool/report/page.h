// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>

#include "tool/report/collect.h"

namespace gponflow {

/// The report as one self-contained HTML page. `picture` is an <svg> element, or empty; then
/// `no_picture` is the reason. All other text is escaped.
std::string report_page(const report_data& data, const std::string& picture,
                        const std::string& no_picture);

} // namespace gponflow
