// SPDX-License-Identifier: GPL-2.0-only
// gponflow report: write an HTML page about a scenario and captures.
#include <fstream>
#include <iostream>
#include <memory>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/line_input.h"
#include "tool/commands/source.h"
#include "tool/commands/traffic_options.h"
#include "tool/report/live.h"
#include "tool/report/page.h"
#include "tool/report/report_json.h"
#include "tool/scenario/host_backend.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct report_request {
    live_source source;
    traffic_options traffic;
    std::string output = "report.html";
    bool json = false;
    bool live = false;
};

void write_page(const std::string& page, const std::string& output)
{
    if (output == "-") {
        std::cout << page;
        return;
    }
    std::ofstream file(output, std::ios::binary);
    if (!(file << page << std::flush))
        throw std::runtime_error(output + ": cannot be written");
}

void print_report(const report_request& request, const report_data& data)
{
    if (request.json)
        print_report_json(data, std::cout);
    else
        write_page(report_page(data), request.output);
}

int report_live(const report_request& request)
{
    return read_source(request.source, [&](module_reader& reader) {
        report_data data = live_report(reader);
        data.scenario = request.source.file;
        print_report(request, data);
        return static_cast<int>(finish_output() ? status_ok : status_unsupported);
    });
}

int report(const report_request& request)
{
    std::optional<opened_line> opened =
        open_line(request.source.file, request.source.onu, std::cerr);
    if (!opened)
        return status_invalid;
    scenario& parsed = opened->input;
    try {
        report_data data;
        data.entry =
            append_traffic(read_traffic(request.traffic, std::cerr), request.traffic.entry, parsed);
        const std::unique_ptr<backend> target = make_host_backend();
        exit_status status = collect_report(parsed, *target, data, std::cerr);
        if (status == status_ok)
            print_report(request, data);
        if (status == status_ok && (parsed.incomplete || !opened->complete))
            status = status_failed;
        return finish_output() ? status : status_unsupported;
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
}

} // namespace

void add_report_command(CLI::App& app)
{
    const auto request = std::make_shared<report_request>();
    CLI::App* sub = app.add_subcommand(
        "report", "Write an HTML page with graph, flows, explained drops and rules");
    sub->add_option("FILE", request->source.file,
                    "Scenario or capture of OMCI messages, - for standard input");
    add_onu_option(*sub, request->source.onu);
    CLI::Option* captures = add_traffic_options(*sub, request->traffic);
    sub->add_flag("--live", request->live,
                  "Report the state of the module: its entities, rules with their hits, and "
                  "counters; without FILE, of the running kernel")
        ->excludes(captures);
    sub->add_option("-o,--output", request->output, "Output file, - for standard output")
        ->type_name("FILE")
        ->capture_default_str();
    sub->add_flag("--json", request->json, "Print the data as JSON and write no page")
        ->excludes("-o");
    sub->footer("\nExamples:\n"
                "  gponflow report scenarios/demo.scn -o report.html\n"
                "  gponflow report scenarios/subscriber-line.scn -o report.html \\\n"
                "    --uni 1 --pcap captures/upstream-uni1.pcap \\\n"
                "    --pcap captures/downstream-unicast.pcap,kind=down_ani,gem=1025\n"
                "  gponflow report --live -o report.html\n\n"
                "The page is self-contained: it loads no other file. It includes the frames of the "
                "scenario itself.\n\n" +
                std::string(traffic_help));
    sub->callback([request] {
        if (request->source.file.empty() && !request->live)
            throw CLI::RequiredError("FILE");
        const int status = request->live ? report_live(*request) : report(*request);
        if (status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
