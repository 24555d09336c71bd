// SPDX-License-Identifier: GPL-2.0-only
// The summary of a capture of OMCI messages as text and as JSON.
#pragma once

#include <iosfwd>
#include <string>

#include "tool/omci/convert.h"
#include "tool/text/json_document.h"

namespace gponflow::omci {

/// Requests, responses and what is missing. `title` names the capture.
void print_summary(const capture& cap, const conversion& result, const std::string& title,
                   std::ostream& out);

/// The same as the document gponflow-omci-1, with the scenario.
[[nodiscard]] json summary_json(const capture& cap, const conversion& result,
                                const std::string& title);

/// Where the capture is from: what the ONU reported about itself, its address and the times of the
/// first and the last message. Members that are unknown are absent.
[[nodiscard]] json origin_json(const capture& cap, const conversion& result);

} // namespace gponflow::omci
