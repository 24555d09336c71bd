// SPDX-License-Identifier: GPL-2.0-only
// gponflow set: set the switch, log level or trace filter of the running module.
#include <memory>

#include "tool/commands/commands.h"
#include "tool/commands/operator_command.h"
#include "tool/live/operator_lines.h"

namespace gponflow {

namespace {

void add_set_enable(operator_group& set)
{
    const auto on = std::make_shared<std::string>();
    set.add("enable", "Switch the engine on or off",
            [on] { return operator_lines{*on == "on" ? "set enable 1" : "set enable 0"}; })
        ->add_option("STATE", *on, "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
}

void add_set_debug_level(operator_group& set)
{
    const auto level = std::make_shared<std::string>();
    CLI::App* sub = set.add("debug-level", "Set which messages are logged", [level] {
        return operator_lines{debug_level_line(read_debug_level(*level))};
    });
    sub->add_option(
           "LEVEL", *level,
           "Comma-separated list of errors, warnings, traces and ioctl; or all, none or a mask")
        ->required();
    sub->footer("\nExamples:\n  gponflow set debug-level errors,warnings\n"
                "  gponflow set debug-level none\n\n"
                "With traffic, traces fill the log: use gponflow trace instead.");
}

void add_set_trace(operator_group& set)
{
    const auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* sub = set.add("trace", "Set the trace filter", [words] {
        if (words->size() == 1 && words->front() == "off")
            return operator_lines{trace_off_line};
        std::string text;
        for (const std::string& word : *words)
            text += word + " ";
        return lines_of(read_trace_filter(text));
    });
    sub->add_option("FILTER", *words,
                    "dst_mac=MAC src_mac=MAC outer_vlan=VLAN inner_vlan=VLAN, or off")
        ->required();
    sub->footer(
        "\nExamples:\n  gponflow set trace src_mac=02:00:00:00:01:01 outer_vlan=100p5\n"
        "  gponflow set trace off\n\n"
        "A frame must match all given fields. The new filter replaces the previous one. VLAN is "
        "a VLAN id, which selects priority 0 only, a VLAN id with a priority (100p5), or the whole "
        "TCI in hexadecimal (0xa064).\ngponflow trace sets a filter, prints the matching frames "
        "and clears "
        "the filter.");
}

} // namespace

void add_set_command(CLI::App& app)
{
    operator_group group(app, "set",
                         "Set the switch, log level or trace filter of the running module");
    group.app().footer(
        "\nExamples:\n  gponflow set enable on\n  gponflow set debug-level none\n"
        "  gponflow set trace dst_mac=02:00:00:00:00:01\n\n"
        "Lines after > are written to the proc entry, lines after | are the output of the "
        "module.");
    add_set_enable(group);
    add_set_debug_level(group);
    add_set_trace(group);
}

} // namespace gponflow
