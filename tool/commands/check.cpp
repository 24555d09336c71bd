// SPDX-License-Identifier: GPL-2.0-only
// gponflow check: find mistakes in the provisioning of a scenario.
#include <algorithm>
#include <iostream>
#include <memory>

#include "tool/commands/commands.h"
#include "tool/model/check.h"
#include "tool/model/check_output.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/open.h"
#include "tool/text/exit_status.h"

namespace gponflow {

namespace {

int check(const std::string& file, bool json)
{
    const std::optional<scenario> parsed = open_scenario(file, std::cerr);
    if (!parsed)
        return status_invalid;
    const std::vector<finding> all = check_provisioning(final_entities(*parsed));
    if (json)
        print_findings_json(all, parsed->name, std::cout);
    else
        print_findings(all, parsed->name, std::cout, colours_of(1));
    const bool clean = std::ranges::all_of(
        all, [](const finding& one) { return one.weight == finding_weight::note; });
    if (!finish_output())
        return status_unsupported;
    return clean ? status_ok : status_failed;
}

} // namespace

void add_check_command(CLI::App& app)
{
    const auto file = std::make_shared<std::string>();
    const auto json = std::make_shared<bool>(false);
    CLI::App* sub = app.add_subcommand("check", "Check the provisioning of a scenario");
    sub->add_option("FILE", *file, "Scenario file, - for standard input")->required();
    sub->add_flag("--json", *json, "Print JSON");
    sub->footer(
        "\nExamples:\n  gponflow check scenarios/subscriber-line.scn\n"
        "  gponflow check --json line.scn | jq '.findings[].reason'\n\n"
        "The scenario is not run. Exit status: 0 no problem found (notes do not count), 1 a "
        "problem found, 2 invalid scenario.");
    sub->callback([file, json] {
        if (const int status = check(*file, *json); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
