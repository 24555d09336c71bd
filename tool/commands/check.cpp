// SPDX-License-Identifier: GPL-2.0-only
// gponflow check: find mistakes in the provisioning of a scenario.
#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>

#include "tool/check/check.h"
#include "tool/check/check_output.h"
#include "tool/check/sarif.h"
#include "tool/commands/commands.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/open.h"
#include "tool/text/exit_status.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

struct check_request {
    std::string file;
    bool json = false;
    bool sarif = false;
    bool all = false;
    bool rules = false;
    std::string explained; ///< name of a rule, or "all"
    std::vector<std::string> silenced;
};

void require_rule(const std::string& name)
{
    if (!find_rule(name))
        throw CLI::ValidationError("unknown rule " + in_quotes(name) +
                                       suggestion(name, rule_names()) +
                                       "; 'gponflow check --rules' lists all",
                                   CLI::ExitCodes::ValidationError);
}

void print(const check_request& request, const check_result& result, const std::string& name)
{
    if (request.sarif)
        print_sarif(result, name, GPONFLOW_VERSION, std::cout);
    else if (request.json)
        print_findings_json(result, name, std::cout);
    else
        print_findings(result, name, std::cout, colours_of(1));
}

int check(const check_request& request)
{
    std::ranges::for_each(request.silenced, require_rule);
    const std::optional<scenario> parsed = open_scenario(request.file, std::cerr);
    if (!parsed)
        return status_invalid;
    check_options options{request.all, silences_of(*parsed)};
    for (const std::string& rule : request.silenced)
        options.silenced.push_back({rule, {}, {}});
    const check_result result = check_provisioning(final_entities(*parsed), options);
    print(request, result, parsed->name);
    if (!finish_output())
        return status_unsupported;
    const bool problems = std::ranges::any_of(
        result.findings, [](const finding& one) { return one.weight == finding_weight::problem; });
    return problems ? status_failed : status_ok;
}

int explain_rules(const std::string& name)
{
    if (name != "all")
        require_rule(name);
    bool first = true;
    for (const check_rule& rule : check_rules()) {
        if (name != "all" && name != rule.name)
            continue;
        std::cout << (first ? "" : "\n");
        print_rule(rule, std::cout, colours_of(1));
        first = false;
    }
    return finish_output() ? status_ok : status_unsupported;
}

int run(const check_request& request)
{
    if (!request.explained.empty())
        return explain_rules(request.explained);
    if (!request.rules) {
        if (request.file.empty())
            throw CLI::RequiredError("FILE");
        return check(request);
    }
    print_rules(std::cout, colours_of(1));
    return finish_output() ? status_ok : status_unsupported;
}

} // namespace

void add_check_command(CLI::App& app)
{
    const auto request = std::make_shared<check_request>();
    CLI::App* sub = app.add_subcommand("check", "Check the provisioning of a scenario");
    sub->add_option("FILE", request->file, "Scenario file, - for standard input");
    CLI::Option* json = sub->add_flag("--json", request->json, "Print JSON");
    sub->add_flag("--sarif", request->sarif, "Print a SARIF 2.1.0 log")->excludes(json);
    sub->add_flag("--all", request->all,
                  "Include notes that an operator cannot change: capacities of the module");
    sub->add_option("--silence", request->silenced, "Leave out the findings of a rule")
        ->delimiter(',')
        ->allow_extra_args(false);
    sub->add_flag("--rules", request->rules, "List the rules");
    sub->add_option("--explain", request->explained, "Explain a rule, or all");
    sub->footer(
        "\nExamples:\n  gponflow check scenarios/subscriber-line.scn\n"
        "  gponflow check --explain vlan-on-two-bridges\n"
        "  gponflow check --silence service-without-uni,unreachable line.scn\n"
        "  gponflow check --json line.scn | jq '.findings[].reason'\n"
        "  gponflow check --sarif line.scn > line.sarif\n\n"
        "The scenario is not run. Its command \"silence RULE [CLASS [INSTANCE]]\" also leaves out "
        "findings. Exit status: 0 no problem found (warnings and notes do not count), 1 a problem "
        "found, 2 invalid scenario.");
    sub->callback([request] {
        if (const int status = run(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
