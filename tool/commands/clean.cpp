// SPDX-License-Identifier: GPL-2.0-only
// gponflow clean: delete rules or instances from the running module.
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/operator_command.h"

namespace gponflow {

namespace {

std::string hex_digits(uint16_t number)
{
    char text[8];
    std::snprintf(text, sizeof(text), "%04x", unsigned{number});
    return text;
}

struct rule_choice {
    std::string hash;
    std::string index = "0";
};

void add_clean_rules(operator_group& clean)
{
    const auto choice = std::make_shared<rule_choice>();
    CLI::App* sub = clean.add("rules", "Delete learnt rules", [choice] {
        if (choice->hash.empty())
            return operator_lines{"clean flow_rule 0 0"};
        // The module reads a signed number.
        const auto hash = static_cast<int32_t>(read_number("hash", choice->hash, UINT32_MAX, 1));
        return operator_lines{"clean flow_rule " + std::to_string(hash) + " " +
                              std::to_string(read_number("index", choice->index, UINT16_MAX))};
    });
    CLI::Option* hash =
        sub->add_option("--hash", choice->hash, "Only the bucket of this hash value (not 0)")
            ->type_name("NUMBER");
    sub->add_option("--index", choice->index, "Only this rule of the bucket; 0 for all")
        ->type_name("NUMBER")
        ->needs(hash)
        ->capture_default_str();
    sub->footer("\nExamples:\n  gponflow clean rules\n"
                "  gponflow clean rules --hash 0x26d0eada\n\n"
                "gponflow show rules --json prints hash and index of each rule. Later frames learn "
                "the rules again.");
}

struct me_choice {
    std::string class_word;
    std::string instance;
    bool all = false;
};

void add_clean_me(operator_group& clean)
{
    const auto choice = std::make_shared<me_choice>();
    CLI::App* sub = clean.add("me", "Delete managed entities", [choice] {
        if (choice->all != choice->class_word.empty() || choice->all != choice->instance.empty())
            throw std::runtime_error("clean me takes a class and an instance, or --all");
        if (choice->all)
            return operator_lines{"clean raw_data"};
        return operator_lines{"clean raw_data " +
                              std::to_string(gpon::class_number(read_class(choice->class_word))) +
                              " " + hex_digits(read_instance(choice->instance))};
    });
    sub->add_option("CLASS", choice->class_word, "Class name or number");
    sub->add_option("INSTANCE", choice->instance, "Instance id, decimal or 0x...");
    sub->add_flag("--all", choice->all, "Every instance of every class");
    sub->footer("\nExamples:\n  gponflow clean me VLAN_TAG_FILTER_DATA 0x1001\n"
                "  gponflow clean me --all\n\n"
                "Links from a deleted instance stay recorded, and the OMCI stack is not notified.");
}

} // namespace

void add_clean_command(CLI::App& app)
{
    operator_group group(app, "clean", "Delete rules or instances from the running module");
    group.app().footer("\nExamples:\n  gponflow clean rules\n  gponflow clean me --all");
    add_clean_rules(group);
    add_clean_me(group);
}

} // namespace gponflow
