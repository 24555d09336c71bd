// SPDX-License-Identifier: GPL-2.0-only
// gponflow explain: trace one frame step by step.
#include <iostream>
#include <memory>
#include <utility>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/query_options.h"
#include "tool/commands/source.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/path_output.h"
#include "tool/live/backends.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

struct explain_request {
    live_source source;
    frame_choice frame; ///< options of a hook command
    query_options asked;
    bool json = false;
};

// With --backend=device the scenario is optional: a first word with = is an option of the frame.
void sort_words(explain_request& request)
{
    if (request.source.backend == "device" && request.source.file.find('=') != std::string::npos)
        request.frame.words.insert(request.frame.words.begin(),
                                   std::exchange(request.source.file, {}));
    else if (request.source.backend.empty())
        request.source.backend = "host";
    query_options& asked = request.asked;
    asked.asks = asked.asks || (request.frame.words.empty() && !request.frame.capture.empty());
    asked.query.capture = request.frame.capture;
    asked.query.number = request.frame.number;
    complete(asked);
    if (!asked.asks)
        return;
    if (!request.frame.words.empty())
        throw CLI::ValidationError("options of a hook command (" + request.frame.words.front() +
                                   ") cannot be used together with --uni, --gem and the fields "
                                   "of a frame");
}

entity_source source_of(const explain_request& request)
{
    return request.source.backend == "device" ? entity_source::module : entity_source::scenario;
}

exit_status explain_query(const explain_request& request, const scenario& input, backend& target)
{
    explain_session session(target, source_of(request));
    const exit_status status = session.run(without_last_unload(input), std::cerr);
    if (status != status_ok)
        return status;
    const frame_path found = trace_frame(request.asked.query, session);
    if (request.json)
        print_path_json(found, input, std::cout);
    else
        print_path(found, input, std::cout, colours_of(1));
    return status_ok;
}

exit_status explain_hook(const explain_request& request, const scenario& input, backend& target)
{
    const auto explained =
        explain_frame(input, target, choose_frame(request.frame), std::cerr, source_of(request));
    if (!explained)
        return explained.status();
    if (request.json)
        print_explanation_json(*explained, input, std::cout);
    else
        print_explanation(*explained, std::cout, colours_of(1), places_of(input));
    return status_ok;
}

int explain(const explain_request& request)
{
    const auto opened = open_source(request.source);
    if (!opened)
        return opened.status();
    const std::optional<scenario>& parsed = *opened;
    exit_status status = status_ok;
    try {
        const scenario input = parsed.value_or(scenario{"the running module", {}});
        const std::unique_ptr<backend> target = make_backend(request.source.backend);
        status = request.asked.asks ? explain_query(request, input, *target)
                                    : explain_hook(request, input, *target);
    } catch (const refusal& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_unsupported;
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
    if (!finish_output())
        return status_unsupported;
    return parsed ? status_with_input(status, *parsed) : status;
}

void add_capture_options(CLI::App& sub, explain_request& request)
{
    sub.add_option("--pcap", request.frame.capture,
                   "Take the frame from a capture file, - for standard input")
        ->type_name("FILE");
    add_number(
        sub, "--frame", [&request](uint64_t number) { request.frame.number = number; }, UINT32_MAX,
        1, "Number of the frame in the capture, from 1 (default 1)")
        ->needs("--pcap");
}

constexpr const char* explain_help = R"(
Examples:
  gponflow explain line.scn --uni 2 --vlan 300 --prio 6
  gponflow explain bring-up.pcap --uni 2 --pcap lost.pcap --frame 7
  gponflow explain line.scn --gem 1025 --vlan 100 --src 02:00:00:00:00:07
  gponflow explain line.scn --uni 1 --vlan 500 --tpid 0x88a8 --inner 10p3 --json
  gponflow explain line.scn kind=up_ani frame=0200000000010200000001028100006508004500
  gponflow explain line.scn

With --uni or --gem, the frame passes through both hook calls of its direction. The output begins with the frame and its outcome; branches that the frame did not take are counted by reason.

With the options of a hook command (kind=K port=P gem=G frame=HEX), one hook call is traced in full. Kinds: up_uni and up_ani (upstream), down_ani and down_uni (downstream). Without a frame, it is the last frame of a hook command in the scenario.

The scenario runs first. With --backend=device, the frame goes through the module of the running kernel; the trace filter is set to the addresses and outer tags of the frame while it runs, and is cleared afterwards.)";

} // namespace

void add_explain_command(CLI::App& app)
{
    const auto request = std::make_shared<explain_request>();
    CLI::App* sub = app.add_subcommand("explain", "Trace one frame step by step");
    CLI::Option* file =
        sub->add_option("FILE", request->source.file,
                        "Scenario or capture of OMCI messages, - for standard input; optional with "
                        "--backend=device");
    add_onu_option(*sub, request->source.onu)->needs(file);
    sub->add_option("OPTION", request->frame.words,
                    "Options of a hook command: kind=K port=P gem=G frame=HEX ...");
    add_capture_options(*sub, *request);
    add_query_options(*sub, request->asked);
    sub->add_option("--backend", request->source.backend,
                    "host: the module in this process (default); device: the module in the running "
                    "kernel")
        ->check(CLI::IsMember(backend_names()));
    sub->add_flag("--json", request->json, "Print JSON");
    sub->footer(explain_help);
    sub->callback([request] {
        sort_words(*request);
        if (const int status = explain(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
