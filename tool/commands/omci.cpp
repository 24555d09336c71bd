// SPDX-License-Identifier: GPL-2.0-only
// gponflow omci: convert captured OMCI messages to a scenario, summarise them, compare two lines.
#include <iostream>
#include <memory>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "tool/commands/commands.h"
#include "tool/commands/fleet_options.h"
#include "tool/commands/line_input.h"
#include "tool/model/bandwidth_tree.h"
#include "tool/model/line_diff.h"
#include "tool/omci/convert_file.h"
#include "tool/omci/summary_output.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/parse.h"
#include "tool/text/exit_status.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct omci_request {
    fleet_request inputs;
    omci::conversion_files files;
    bool diff = false;
    bool summary = false;
    bool json = false;
};

int compare(const omci_request& request)
{
    const std::vector<std::string>& names = request.inputs.names;
    if (names.size() != 2)
        throw CLI::ValidationError("--diff needs 2 FILEs, not " + std::to_string(names.size()));
    const auto left = read_line(names[0], request.inputs.onu, std::cerr);
    const auto right = read_line(names[1], request.inputs.onu, std::cerr);
    if (!left || !right)
        return status_invalid;
    const line_difference difference = difference_of(left->line, right->line);
    if (request.json)
        print_difference_json(difference, left->places, right->places, std::cout);
    else
        print_difference(difference, left->line, right->line, std::cout);
    if (!finish_output())
        return status_unsupported;
    return difference.empty() && left->complete && right->complete ? status_ok : status_failed;
}

line_model line_of(const omci::loaded_capture& loaded)
{
    return final_entities(parse_scenario(loaded.result.scenario, loaded.path).input);
}

json document_of(const omci::loaded_capture& loaded)
{
    json whole = omci::summary_json(loaded.cap, loaded.result, loaded.path);
    whole["bandwidth"] = bandwidth_json(line_of(loaded), loaded.result.queues);
    return whole;
}

line_result summary_of_many(const omci_request& request, const std::string& input)
{
    try {
        const omci::loaded_capture loaded = omci::load_capture(input, request.inputs.onu);
        omci::print_warnings(loaded, std::cerr);
        return {omci::status_of(loaded), omci::origin_json(loaded.cap, loaded.result),
                document_of(loaded)};
    } catch (const std::runtime_error& why) {
        std::cerr << why.what() << '\n'; // it begins with the input
        return {status_invalid, nullptr, nullptr};
    }
}

int summarise(const omci_request& request)
{
    const std::string& path = request.files.capture_path;
    const omci::loaded_capture loaded = omci::load_capture(path, request.inputs.onu);
    omci::print_warnings(loaded, std::cerr);
    if (request.json) {
        print_json(document_of(loaded), std::cout);
    } else {
        omci::print_summary(loaded.cap, loaded.result, path, std::cout);
        print_bandwidth_tree(line_of(loaded), loaded.result.queues, std::cout);
    }
    return finish_output() ? omci::status_of(loaded) : status_unsupported;
}

int run_omci(omci_request& request)
{
    if (request.diff)
        return compare(request);
    if (request.inputs.wants_lines())
        return run_lines(request.inputs, "omci",
                         [&](const std::string& input) { return summary_of_many(request, input); });
    request.files.onu = request.inputs.onu;
    if (!request.inputs.names.empty())
        request.files.capture_path = request.inputs.only();
    try {
        if (request.files.capture_path.empty())
            throw std::runtime_error("name a capture, or two inputs of --diff");
        if (request.summary || request.json)
            return summarise(request);
        return omci::convert_file(request.files, std::cout, std::cerr);
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
}

constexpr const char* omci_help = R"(
Examples:
  gponflow omci bringup.pcap -o line.scn && gponflow run line.scn
  gponflow omci bringup.pcap --summary
  gponflow omci captures/*.pcap --jobs 4 > lines.jsonl
  gponflow omci --diff yesterday.pcap today.pcap
  gponflow omci --diff line.scn today.pcap --json

Requests that the ONU refused, damaged messages and classes that the module does not mirror become comments. If the capture begins after the bring-up, the instances come from a MIB upload.

--summary prints response times, repeated, unanswered and refused requests, and the T-CONTs with their GEM ports, queues and rates. --diff compares instances and attributes of two captures or scenarios; the exit status is 0 if there is no difference and 1 if there is one.)";

} // namespace

void add_omci_command(CLI::App& app)
{
    CLI::App* sub = app.add_subcommand("omci", "Convert captured OMCI messages to a scenario");
    const auto request = std::make_shared<omci_request>();
    add_fleet_options(*sub, request->inputs,
                      "pcap or pcapng files with OMCI messages (EtherType 0x88b5, or bare "
                      "messages on a user link type), - for standard input");
    sub->add_option("-o,--output", request->files.scenario_path,
                    "Output file, - for standard output")
        ->type_name("FILE")
        ->capture_default_str();
    sub->add_flag("--summary", request->summary, "Print a summary instead of the scenario");
    CLI::Option* diff =
        sub->add_flag("--diff", request->diff, "Compare two FILEs, captures or scenarios");
    for (const char* other : {"--summary", "--output", "--files", "--jobs", "--timeout"})
        diff->excludes(other);
    sub->add_flag("--json", request->json, "Print the summary or the differences as JSON");
    sub->footer(std::string(omci_help) + "\n\n" + fleet_help);
    sub->callback([request, sub] {
        if (request->inputs.wants_lines() && !request->diff)
            refuse_with_lines(*sub, {"--output", "--summary"});
        if (const int status = run_omci(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
