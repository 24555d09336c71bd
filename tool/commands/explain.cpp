// SPDX-License-Identifier: GPL-2.0-only
// gponflow explain: trace one frame step by step.
#include <iostream>
#include <memory>
#include <utility>

#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/explain/explain_output.h"
#include "tool/live/backends.h"

namespace gponflow {

namespace {

struct explain_request {
    live_source source;
    frame_choice frame;
};

// With --backend=device the scenario is optional: a first word with = is an option of the frame.
void sort_words(explain_request& request)
{
    if (request.source.backend == "device" && request.source.file.find('=') != std::string::npos)
        request.frame.words.insert(request.frame.words.begin(),
                                   std::exchange(request.source.file, {}));
    else if (request.source.backend.empty())
        request.source.backend = "host";
}

int explain(const explain_request& request)
{
    exit_status status = status_ok;
    const std::optional<scenario> parsed = open_source(request.source, status);
    if (status != status_ok)
        return status;
    std::optional<explained_frame> frame;
    try {
        frame = choose_frame(request.frame);
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
    try {
        const bool device = request.source.backend == "device";
        const std::unique_ptr<backend> target = make_backend(request.source.backend);
        if (const auto explained =
                explain_frame(parsed.value_or(scenario{"gponflow", {}}), *target, frame, std::cerr,
                              status, device ? explain_mode::trace_filter : explain_mode::full_log))
            print_explanation(*explained, std::cout, colours_of(1));
    } catch (const refusal& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_unsupported;
    }
    return finish_output() ? status : status_unsupported;
}

} // namespace

void add_explain_command(CLI::App& app)
{
    const auto request = std::make_shared<explain_request>();
    CLI::App* sub = app.add_subcommand("explain", "Trace one frame step by step");
    sub->add_option("FILE", request->source.file,
                    "Scenario file, - for standard input; optional with --backend=device");
    sub->add_option("OPTION", request->frame.words,
                    "Options of a hook command: kind=K port=P gem=G frame=HEX ...");
    sub->add_option("--pcap", request->frame.capture, "Take the frame from a capture file");
    sub->add_option("--frame", request->frame.number, "Number of the frame in the capture, from 1")
        ->needs("--pcap")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    sub->add_option("--backend", request->source.backend,
                    "host: the module in this process (default); device: the module in the running "
                    "kernel")
        ->check(CLI::IsMember(backend_names()));
    sub->footer(
        "\nExamples:\n"
        "  gponflow explain scenarios/subscriber-line.scn kind=up_ani \\\n"
        "    frame=0200000000010200000001028100006508004500\n"
        "  gponflow explain scenarios/subscriber-line.scn kind=up_uni port=1 \\\n"
        "    --pcap captures/upstream-uni1.pcap --frame 3\n"
        "  gponflow explain line.scn\n"
        "  gponflow explain --backend=device kind=up_ani \\\n"
        "    frame=0200000000010200000001028100006508004500\n\n"
        "Kinds: up_uni and up_ani (upstream), down_ani and down_uni (downstream).\n\n"
        "The scenario runs first, then the frame. Without a frame, the last frame of a hook "
        "command "
        "in the scenario is explained. With --backend=device, the trace filter is set to the "
        "addresses and outer tags of the frame while it runs, and is cleared afterwards.");
    sub->callback([request] {
        sort_words(*request);
        if (const int status = explain(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
