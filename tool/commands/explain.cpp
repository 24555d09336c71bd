// SPDX-License-Identifier: GPL-2.0-only
// gponflow explain: trace one frame step by step.
#include <concepts>
#include <iostream>
#include <memory>
#include <utility>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/explain/answer_output.h"
#include "tool/explain/explain_output.h"
#include "tool/live/backends.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

struct explain_request {
    live_source source;
    frame_choice frame; ///< options of a hook command
    frame_question question;
    std::optional<uint8_t> priority;
    bool asks = false; ///< an option of the question was given
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
    request.asks = request.asks || !request.question.source.empty() ||
                   !request.question.destination.empty() ||
                   (request.frame.words.empty() && !request.frame.capture.empty());
    request.question.capture = request.frame.capture;
    request.question.number = request.frame.number;
    if (!request.asks)
        return;
    if (!request.frame.words.empty())
        throw CLI::ValidationError("options of a hook command (" + request.frame.words.front() +
                                   ") cannot be used together with --uni, --gem and the fields "
                                   "of a frame");
    if (request.priority && !request.question.outer)
        throw CLI::ValidationError("--prio needs --vlan");
    if (request.priority)
        request.question.outer->priority = *request.priority;
}

explain_mode mode_of(const explain_request& request)
{
    return request.source.backend == "device" ? explain_mode::trace_filter : explain_mode::full_log;
}

exit_status answer(const explain_request& request, const scenario& input, backend& target)
{
    explain_session session(target, mode_of(request));
    const exit_status status = session.run(without_last_unload(input), std::cerr);
    if (status != status_ok)
        return status;
    const line_answer found = answer_question(request.question, session);
    if (request.json)
        print_answer_json(found, input.name, std::cout);
    else
        print_answer(found, input.name, std::cout, colours_of(1));
    return status_ok;
}

exit_status explain_hook(const explain_request& request, const scenario& input, backend& target)
{
    exit_status status = status_ok;
    const auto explained = explain_frame(input, target, choose_frame(request.frame), std::cerr,
                                         status, mode_of(request));
    if (!explained)
        return status;
    if (request.json)
        print_explanation_json(*explained, input.name, std::cout);
    else
        print_explanation(*explained, std::cout, colours_of(1));
    return status;
}

int explain(const explain_request& request)
{
    exit_status status = status_ok;
    const std::optional<scenario> parsed = open_source(request.source, status);
    if (status != status_ok)
        return status;
    try {
        const scenario input = parsed.value_or(scenario{"the running module", {}});
        const std::unique_ptr<backend> target = make_backend(request.source.backend);
        status =
            request.asks ? answer(request, input, *target) : explain_hook(request, input, *target);
        if (status == status_ok && input.incomplete)
            status = status_failed;
    } catch (const refusal& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_unsupported;
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
    return finish_output() ? status : status_unsupported;
}

// An option whose number is a field of the question.
template <std::unsigned_integral Number>
CLI::Option* add_field(CLI::App& sub, explain_request& request, const char* name, auto& field,
                       uint64_t least, Number most, const char* text)
{
    const auto take = [&request, &field](uint64_t number) {
        field = static_cast<Number>(number);
        request.asks = true;
    };
    return add_number(sub, name, take, most, least, text);
}

void add_entry_options(CLI::App& sub, explain_request& request)
{
    CLI::Option* uni = add_field<uint16_t>(
        sub, request, "--uni", request.question.uni, 0, 15,
        "The frame enters at this UNI: the port number, the last byte of its instance id");
    add_field<uint16_t>(sub, request, "--gem", request.question.gem, 0, UINT16_MAX,
                        "The frame comes from the OLT on this GEM port (portID)")
        ->excludes(uni);
}

void add_tag_options(CLI::App& sub, explain_request& request)
{
    const auto add_tag = [&](const char* name, std::optional<asked_tag>& into, const char* text) {
        return sub
            .add_option_function<std::string>(
                name,
                [&request, &into, name](const std::string& word) {
                    const vlan_word tag = read_vlan(name, word);
                    into = {tag.vlan, tag.priority.value_or(0)};
                    request.asks = true;
                },
                text)
            ->type_name("VLAN")
            ->excludes("--pcap");
    };
    add_tag("--vlan", request.question.outer,
            "VLAN id of the outer tag, with its priority after a p if it is not 0: 300p6");
    add_field<uint8_t>(sub, request, "--prio", request.priority, 0, 7, "Priority of the outer tag");
    add_tag("--inner", request.question.inner, "The same for the inner tag");
    add_field<uint16_t>(sub, request, "--tpid", request.question.tpid, 0x0600, UINT16_MAX,
                        "Type of the outer tag (default 0x8100)")
        ->needs("--vlan");
}

void add_field_options(CLI::App& sub, explain_request& request)
{
    const auto add_address = [&](const char* name, std::string& into, const char* text) {
        sub.add_option(name, into, text)->type_name("MAC")->excludes("--pcap");
    };
    add_address("--src", request.question.source, "Source address (default 02:00:00:00:00:02)");
    add_address("--dst", request.question.destination,
                "Destination address (default 02:00:00:00:00:01)");
    add_field<uint16_t>(sub, request, "--ethertype", request.question.ethertype, 0x0600, UINT16_MAX,
                        "Type behind the tags (default 0x0800, IPv4)")
        ->excludes("--pcap");
    add_field<uint8_t>(sub, request, "--dscp", request.question.dscp, 0, 63, "DSCP of an IP frame")
        ->excludes("--pcap");
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
    sub->add_option("FILE", request->source.file,
                    "Scenario or capture of OMCI messages, - for standard input; optional with "
                    "--backend=device");
    sub->add_option("OPTION", request->frame.words,
                    "Options of a hook command: kind=K port=P gem=G frame=HEX ...");
    add_capture_options(*sub, *request);
    add_entry_options(*sub, *request);
    add_tag_options(*sub, *request);
    add_field_options(*sub, *request);
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
