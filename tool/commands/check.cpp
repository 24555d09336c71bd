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
#include "tool/commands/fleet_options.h"
#include "tool/commands/line_input.h"
#include "tool/scenario/final_state.h"
#include "tool/text/exit_status.h"
#include "tool/text/message_words.h"

namespace gponflow {

namespace {

struct check_request {
    fleet_request inputs;
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

void print(const check_request& request, const check_result& result, const line_places& places)
{
    if (request.sarif)
        print_sarif(result, places, GPONFLOW_VERSION, std::cout);
    else if (request.json)
        print_json(findings_json(result, places), std::cout);
    else
        print_findings(result, places, std::cout, colours_of(1));
}

check_result findings_of(const check_request& request, const opened_line& line)
{
    check_options options{request.all, silences_of(line.input)};
    for (const std::string& rule : request.silenced)
        options.silenced.push_back({rule, {}, {}});
    return check_provisioning(final_entities(line.input), options);
}

exit_status status_of(const check_result& result, const opened_line& line)
{
    const bool problems = std::ranges::any_of(
        result.findings, [](const finding& one) { return one.weight == finding_weight::problem; });
    return problems || !line.complete ? status_failed : status_ok;
}

int check_one(const check_request& request)
{
    const std::optional<opened_line> line =
        open_line(request.inputs.only(), request.inputs.onu, std::cerr);
    if (!line)
        return status_invalid;
    const check_result result = findings_of(request, *line);
    print(request, result, places_of(line->input));
    return finish_output() ? status_of(result, *line) : status_unsupported;
}

line_result check_of_many(const check_request& request, const std::string& input)
{
    std::optional<opened_line> line = open_line(input, request.inputs.onu, std::cerr);
    if (!line)
        return {status_invalid, nullptr, nullptr};
    const check_result result = findings_of(request, *line);
    return {status_of(result, *line), std::move(line->origin),
            findings_json(result, places_of(line->input))};
}

int check(const check_request& request)
{
    std::ranges::for_each(request.silenced, require_rule);
    if (!request.inputs.wants_lines())
        return check_one(request);
    return run_lines(request.inputs, "check",
                     [&](const std::string& input) { return check_of_many(request, input); });
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
    if (!request.rules)
        return check(request);
    print_rules(std::cout, colours_of(1));
    return finish_output() ? status_ok : status_unsupported;
}

} // namespace

void add_check_command(CLI::App& app)
{
    const auto request = std::make_shared<check_request>();
    CLI::App* sub = app.add_subcommand("check", "Check the provisioning of lines");
    add_fleet_options(*sub, request->inputs,
                      "Scenarios or captures of OMCI messages, - for standard input");
    CLI::Option* as_json = sub->add_flag("--json", request->json, "Print JSON");
    sub->add_flag("--sarif", request->sarif, "Print a SARIF 2.1.0 log")->excludes(as_json);
    sub->add_flag("--all", request->all,
                  "Include notes that an operator cannot change: capacities of the module");
    sub->add_option("--silence", request->silenced,
                    "Leave out the findings of a rule; may be repeated")
        ->type_name("RULE")
        ->delimiter(',')
        ->allow_extra_args(false);
    sub->add_flag("--rules", request->rules, "List the rules");
    sub->add_option("--explain", request->explained, "Explain a rule, or all")->type_name("RULE");
    sub->footer(
        "\nExamples:\n  gponflow check scenarios/subscriber-line.scn\n"
        "  gponflow check --explain vlan-on-two-bridges\n"
        "  gponflow check --silence service-without-uni,unreachable line.scn\n"
        "  gponflow check --json line.scn | jq '.findings[].reason'\n"
        "  gponflow check --sarif line.scn > line.sarif\n"
        "  gponflow check captures/*.pcap --jobs 4 > findings.jsonl\n\n"
        "The scenario is not run. Its command \"silence RULE [CLASS [INSTANCE]]\" also leaves out "
        "findings. Exit status: 0 no problem found (warnings and notes do not count), 1 a problem "
        "found or a capture ends early, 2 invalid input.\n\n" +
        std::string(fleet_help));
    sub->callback([request, sub] {
        if (request->inputs.wants_lines())
            refuse_with_lines(*sub, {"--sarif", "--rules", "--explain"});
        if (const int status = run(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
