// SPDX-License-Identifier: GPL-2.0-only
#include "tool/fleet/line_document.h"

#include "tool/text/json_messages.h"
#include "tool/text/lines.h"

namespace gponflow {

json line_document(const std::string& command, const std::string& input, const line_result& result,
                   std::string_view messages)
{
    json whole = json_document("line");
    whole["command"] = command;
    whole["input"] = input;
    whole["status"] = result.status;
    whole["messages"] = json::array();
    for_each_line(messages, [&whole](std::string_view line) {
        whole["messages"].push_back(message_document(std::string(line)));
    });
    whole["origin"] = result.origin;
    whole["document"] = result.document;
    return whole;
}

} // namespace gponflow
