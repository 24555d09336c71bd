// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/final_state.h"

#include <algorithm>

namespace gponflow {

void apply(const scenario_line& line, line_model& entities)
{
    if (const auto* me = std::get_if<me_command>(&line.command))
        entities.apply(*me, line.line);
    else if (const auto* config = std::get_if<config_command>(&line.command))
        entities.apply(*config);
    else if (const auto* tagging = std::get_if<tagging_command>(&line.command))
        entities.apply(tagging->facts, line.line);
    else if (std::holds_alternative<clean_command>(line.command))
        entities.clear();
    else if (std::holds_alternative<load_command>(line.command))
        entities = line_model();
}

line_model final_entities(const scenario& input)
{
    line_model entities;
    for (const scenario_line& line : input.lines)
        apply(line, entities);
    return entities;
}

scenario without_last_unload(scenario input)
{
    const auto last = std::find_if(input.lines.rbegin(), input.lines.rend(), [](const auto& line) {
        return std::holds_alternative<load_command>(line.command) ||
               std::holds_alternative<unload_command>(line.command);
    });
    if (last != input.lines.rend() && std::holds_alternative<unload_command>(last->command))
        input.lines.erase(std::prev(last.base()), input.lines.end());
    return input;
}

std::vector<silence> silences_of(const scenario& input)
{
    std::vector<silence> all;
    for (const scenario_line& line : input.lines)
        if (const auto* command = std::get_if<silence_command>(&line.command))
            all.push_back(command->silenced);
    return all;
}

} // namespace gponflow
