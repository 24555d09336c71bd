// SPDX-License-Identifier: GPL-2.0-only
// gponflow set and gponflow clean: an operator's commands, checked before the module sees them.
#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>

#include "tool/commands/commands.h"
#include "tool/live/arguments.h"
#include "tool/live/lines.h"
#include "tool/live/operator_lines.h"
#include "tool/live/source.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

using lines_to_send = std::vector<std::string>;

// What the module says besides the state of its switch, which it repeats for every command.
void print_answer(const std::string& answer, const palette& colours)
{
    for_each_line(answer, [&](std::string_view line) {
        if (!line.starts_with("CURRENT GPON FLOW SWITCH"))
            std::cout << colours.faint(std::string("| ") + std::string(line)) << '\n';
    });
}

int send_lines(const lines_to_send& lines, bool dry_run)
{
    if (dry_run) {
        for (const std::string& line : lines)
            std::cout << line << '\n';
        return finish_output() ? all_held : not_supported;
    }
    return look_at({}, [&](quiet_run& run) {
        const palette colours = colours_of(1);
        for (const std::string& line : lines) {
            const auto answer = run.ask(line);
            if (!answer)
                return tell_not_loaded();
            std::cout << "> " << line << '\n';
            print_answer(*answer, colours);
        }
        return static_cast<int>(finish_output() ? all_held : not_supported);
    });
}

// set or clean. Its flag may stand before and behind the word that follows.
struct operator_group {
    CLI::App& app;
    std::shared_ptr<bool> dry_run = std::make_shared<bool>(false);

    void add_dry_run(CLI::App& to) const
    {
        to.add_flag("--dry-run", *dry_run,
                    "Print what would be written to the proc entry, and no more");
    }
};

// A subcommand that sends what `make` builds from its arguments when the command line is read.
CLI::App* add_operator(const operator_group& to, const char* name, const char* what,
                       std::function<lines_to_send()> make)
{
    CLI::App* sub = to.app.add_subcommand(name, what);
    to.add_dry_run(*sub);
    sub->callback([make = std::move(make), dry_run = to.dry_run] {
        lines_to_send lines;
        try {
            lines = make();
        } catch (const std::runtime_error& why) {
            std::cerr << "gponflow: " << why.what() << '\n';
            throw CLI::RuntimeError(not_understood);
        }
        if (const int status = send_lines(lines, *dry_run); status != all_held)
            throw CLI::RuntimeError(status);
    });
    return sub;
}

std::string in_hex(uint32_t number, int digits)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%0*x", digits, number);
    return text;
}

void add_set_enable(const operator_group& set)
{
    const auto on = std::make_shared<std::string>();
    add_operator(set, "enable", "Switch the engine on or off",
                 [on] { return lines_to_send{*on == "on" ? "set enable 1" : "set enable 0"}; })
        ->add_option("STATE", *on, "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
}

void add_set_debug_level(const operator_group& set)
{
    const auto level = std::make_shared<std::string>();
    CLI::App* sub = add_operator(
        set, "debug-level", "Choose what is logged for every packet and command", [level] {
            return lines_to_send{"set debug_level " + in_hex(read_debug_level(*level), 1)};
        });
    sub->add_option("LEVEL", *level,
                    "errors, warnings, traces and ioctl with commas between, all, none, or a mask")
        ->required();
    sub->footer("\nExamples:\n  gponflow set debug-level errors,warnings\n"
                "  gponflow set debug-level none\n\n"
                "On a line with traffic, traces fill the log: prefer gponflow trace.");
}

void add_set_trace(const operator_group& set)
{
    const auto words = std::make_shared<std::vector<std::string>>();
    CLI::App* sub = add_operator(set, "trace", "Choose the frames that tell their way", [words] {
        if (words->size() == 1 && words->front() == "off")
            return lines_to_send{trace_off_line};
        std::string text;
        for (const std::string& word : *words)
            text += word + " ";
        return lines_of(read_trace_filter(text));
    });
    sub->add_option("FILTER", *words,
                    "dst_mac=MAC src_mac=MAC outer_vlan=VLAN inner_vlan=VLAN, or off")
        ->required();
    sub->footer("\nExamples:\n  gponflow set trace src_mac=02:00:00:00:01:01 outer_vlan=100p5\n"
                "  gponflow set trace off\n\n"
                "What is given must match together; what the filter was before is forgotten. A "
                "VLAN is VLAN id and priority (100p5), or the whole TCI as a number: 100 is VLAN "
                "100 with priority 0.\ngponflow trace sets a filter, shows what it catches and "
                "ends it by itself.");
}

struct rule_choice {
    std::string hash;
    std::string index = "0";
};

void add_clean_rules(const operator_group& clean)
{
    const auto choice = std::make_shared<rule_choice>();
    CLI::App* sub = add_operator(clean, "rules", "Forget learnt rules", [choice] {
        if (choice->hash.empty())
            return lines_to_send{"clean flow_rule 0 0"};
        // The module reads a signed number.
        const auto hash = static_cast<int32_t>(read_number("hash", choice->hash, UINT32_MAX, 1));
        return lines_to_send{"clean flow_rule " + std::to_string(hash) + " " +
                             std::to_string(read_number("index", choice->index, UINT16_MAX))};
    });
    CLI::Option* hash =
        sub->add_option("--hash", choice->hash, "Only the bucket of this hash value, not 0");
    sub->add_option("--index", choice->index, "Only this rule of the bucket; 0 is all of them")
        ->needs(hash)
        ->capture_default_str();
    sub->footer("\nExamples:\n  gponflow clean rules\n"
                "  gponflow clean rules --hash 0x26d0eada\n\n"
                "gponflow show rules --json tells hash and index of each rule. Rules are learnt "
                "anew by the next frames.");
}

struct me_choice {
    std::string class_word;
    std::string instance;
    bool all = false;
};

void add_clean_me(const operator_group& clean)
{
    const auto choice = std::make_shared<me_choice>();
    CLI::App* sub = add_operator(clean, "me", "Delete managed entities", [choice] {
        if (choice->all != choice->class_word.empty() || choice->all != choice->instance.empty())
            throw std::runtime_error("clean me takes a class and an instance, or --all");
        if (choice->all)
            return lines_to_send{"clean raw_data"};
        return lines_to_send{"clean raw_data " + std::to_string(read_class(choice->class_word)) +
                             " " + in_hex(read_instance(choice->instance), 4)};
    });
    sub->add_option("CLASS", choice->class_word, "Class name or number");
    sub->add_option("INSTANCE", choice->instance, "Instance id, decimal or 0x...");
    sub->add_flag("--all", choice->all, "Every instance of every class");
    sub->footer("\nExamples:\n  gponflow clean me VLAN_TAG_FILTER_DATA 0x1001\n"
                "  gponflow clean me --all\n\n"
                "Who had recorded a link from the instance keeps it, and the OMCI stack is not "
                "told.");
}

} // namespace

void add_set_command(CLI::App& app)
{
    CLI::App* set = app.add_subcommand("set", "Change the running module's switch, log or filter");
    set->require_subcommand(1);
    const operator_group group{*set};
    group.add_dry_run(*set);
    set->footer("\nExamples:\n  gponflow set enable on\n  gponflow set debug-level none\n"
                "  gponflow set trace dst_mac=02:00:00:00:00:01\n\n"
                "What is written to the proc entry stands behind >, the answer behind |.");
    add_set_enable(group);
    add_set_debug_level(group);
    add_set_trace(group);
}

void add_clean_command(CLI::App& app)
{
    CLI::App* clean = app.add_subcommand("clean", "Make the running module forget");
    clean->require_subcommand(1);
    const operator_group group{*clean};
    group.add_dry_run(*clean);
    clean->footer("\nExamples:\n  gponflow clean rules\n  gponflow clean me --all");
    add_clean_rules(group);
    add_clean_me(group);
}

} // namespace gponflow
