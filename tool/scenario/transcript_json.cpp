// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/transcript_json.h"

#include <nlohmann/json.hpp>

#include "tool/text/json_document.h"
#include "tool/text/lines.h"

namespace gponflow {

namespace {

json new_command(std::string_view text)
{
    return {{"command", text},          {"log", json::array()},   {"calls", json::array()},
            {"results", json::array()}, {"unmet", json::array()}, {"echo", json::array()}};
}

// The first two characters of a line name its kind; the text of echo has none.
const char* member_of(std::string_view line)
{
    if (line.starts_with("| "))
        return "log";
    if (line.starts_with("@ "))
        return "calls";
    if (line.starts_with("= "))
        return "results";
    return line.starts_with("! ") ? "unmet" : nullptr;
}

} // namespace

void print_transcript_json(std::string_view transcript, const std::string& file, std::ostream& out)
{
    json commands = json::array();
    for_each_line(transcript, [&](std::string_view line) {
        if (line.starts_with("> ") || commands.empty()) {
            commands.push_back(new_command(line.substr(line.starts_with("> ") ? 2 : 0)));
            return;
        }
        if (const char* member = member_of(line))
            commands.back()[member].push_back(line.substr(2));
        else
            commands.back()["echo"].push_back(line);
    });
    json whole = json_document("run");
    whole["scenario"] = file;
    whole["commands"] = std::move(commands);
    print_json(whole, out);
}

} // namespace gponflow
