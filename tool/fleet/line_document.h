// SPDX-License-Identifier: GPL-2.0-only
// The document about one of many inputs.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "tool/text/exit_status.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// The result of a command for one input.
struct line_result {
    int status = status_ok; ///< exit status of the command for this input alone
    json origin;            ///< of a capture: its ONU and times; null for a scenario
    json document;          ///< what the command prints with --json; null without a result
};

/// The document gponflow-line-1. `messages` is what the command printed on standard error.
[[nodiscard]] json line_document(const std::string& command, const std::string& input,
                                 const line_result& result, std::string_view messages);

} // namespace gponflow
