// SPDX-License-Identifier: GPL-2.0-only
// gponflow show: print rules, managed entities or status from the dumps of the module.
#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

#include "include/me_class_id.h"
#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/live/module_file.h"
#include "tool/live/show_json.h"
#include "tool/live/show_table.h"

namespace gponflow {

namespace {

struct show_request {
    live_source source;
    bool json = false;
    bool table = false;
    std::vector<me_class> classes;
    std::optional<uint16_t> instance;
    std::string direction;
};

// A view of the module in this process, from its log, and of that in a kernel, from its records.
struct view {
    int (*of_log)(const show_request&, captured_run&);
    int (*of_records)(const show_request&, module_reader&);
};

palette colours()
{
    return colours_of(1);
}

int written()
{
    return finish_output() ? status_ok : status_unsupported;
}

int print_document(json document, bool changed)
{
    note_change(document, changed);
    print_json(document, std::cout);
    return written();
}

int print_table(const show_request& request, rule_table table, bool changed)
{
    if (!request.direction.empty())
        std::erase_if(table.rules, [&](const dumped_rule& rule) {
            return rule.key.direction != request.direction;
        });
    if (request.json)
        return print_document(rules_document(table), changed);
    print_rules(table, std::cout, colours());
    return written();
}

int show_rules(const show_request& request, captured_run& run)
{
    const auto output = run.query("show flow_rule");
    if (!output)
        return report_not_loaded();
    std::optional<rule_table> table = read_rule_table(*output);
    if (!table)
        throw refusal("the module printed no rule table");
    return print_table(request, std::move(*table), false);
}

int show_kernel_rules(const show_request& request, module_reader& reader)
{
    rule_table table = reader.table();
    return print_table(request, std::move(table), reader.has_change());
}

int print_chosen(const show_request& request, std::vector<dumped_instance> all, bool changed)
{
    std::erase_if(all, [&](const dumped_instance& one) {
        const bool wanted =
            request.classes.empty() ||
            std::ranges::find(request.classes, one.id.class_id) != request.classes.end();
        return !wanted || (request.instance && *request.instance != one.id.instance);
    });
    if (request.json)
        return print_document(instances_document(all), changed);
    print_instances(all, std::cout, colours());
    return written();
}

int show_me(const show_request& request, captured_run& run)
{
    const auto output = run.query("show raw_data");
    return output ? print_chosen(request, read_instances(*output), false) : report_not_loaded();
}

int show_kernel_me(const show_request& request, module_reader& reader)
{
    std::vector<dumped_instance> all = reader.instances();
    return print_chosen(request, std::move(all), reader.has_change());
}

int print(const show_request& request, const module_status& status, bool changed)
{
    if (request.json)
        return print_document(status_document(status), changed);
    print_status(status, std::cout, colours());
    return written();
}

int show_status(const show_request& request, captured_run& run)
{
    return print(request, read_status(run), false);
}

int show_kernel_status(const show_request& request, module_reader& reader)
{
    const module_status status = read_status(reader);
    return print(request, status, reader.has_change());
}

int run_view(const show_request& request, const view& chosen)
{
    if (backend_of(request.source) == "host")
        return run_on_source(request.source,
                             [&](captured_run& run) { return chosen.of_log(request, run); });
    // That no module is loaded is a status, too.
    if (chosen.of_log == show_status && request.source.file.empty() && !is_module_loaded())
        return print(request, module_status{}, false);
    return read_source(request.source,
                       [&](module_reader& reader) { return chosen.of_records(request, reader); });
}

CLI::App* add_view(CLI::App& show, const std::shared_ptr<show_request>& request, const char* name,
                   const char* description, view chosen)
{
    CLI::App* sub = show.add_subcommand(name, description);
    add_source_options(*sub, request->source);
    CLI::Option* as_json = sub->add_flag("--json", request->json, "Print JSON");
    sub->add_flag("--table", request->table, "Print a table (default)")->excludes(as_json);
    sub->callback([request, chosen] {
        if (const int status = run_view(*request, chosen); status != status_ok)
            throw CLI::RuntimeError(status);
    });
    return sub;
}

void add_class_options(CLI::App& me, const std::shared_ptr<show_request>& request)
{
    me.add_option_function<std::vector<std::string>>(
          "--class",
          [request](const std::vector<std::string>& words) {
              for (const std::string& word : words)
                  request->classes.push_back(read_class(word));
          },
          "Only this class, by name or number; can be repeated")
        ->type_name("CLASS")
        ->allow_extra_args(false);
    me.add_option_function<std::string>(
          "--instance",
          [request](const std::string& word) { request->instance = read_instance(word); },
          "Only this instance id")
        ->type_name("ID");
}

} // namespace

void add_show_command(CLI::App& app)
{
    CLI::App* show = app.add_subcommand("show", "Show rules, managed entities or status");
    show->require_subcommand(1);
    show->footer("\nExamples:\n"
                 "  gponflow show status\n"
                 "  gponflow show rules --json | jq '.rules[].direction'\n"
                 "  gponflow show me scenarios/subscriber-line.scn --class GEM_PORT_CTP\n\n"
                 "Without a scenario, the module of the running kernel is read; this requires root "
                 "and prints "
                 "nothing to the kernel log.");
    const auto request = std::make_shared<show_request>();
    CLI::App* rules =
        add_view(*show, request, "rules", "The learnt rules", {show_rules, show_kernel_rules});
    rules->add_option("--direction", request->direction, "Only rules of this direction")
        ->check(CLI::IsMember({"UP_UNI", "UP_ANI", "DOWN_ANI", "DOWN_UNI"}, CLI::ignore_case));
    rules->footer("\nExamples:\n  gponflow show rules\n"
                  "  gponflow show rules --direction UP_ANI scenarios/tour.scn\n\n"
                  "VLAN is the id of each tag, outer tag first, with its priority after a p.");
    CLI::App* me =
        add_view(*show, request, "me", "The managed entities", {show_me, show_kernel_me});
    add_class_options(*me, request);
    me->footer("\nExamples:\n  gponflow show me --class 268 --class GEM_INTERWORK_TP\n"
               "  gponflow show me --json scenarios/subscriber-line.scn --instance 0x1001\n\n"
               "Columns that end in Inst are links that the module has recorded.");
    add_view(*show, request, "status", "State of the engine, number of rules and instances",
             {show_status, show_kernel_status})
        ->footer("\nExample:\n  gponflow show status --json\n\n"
                 "The exit status is 0 even if the module is not loaded.");
}

} // namespace gponflow
