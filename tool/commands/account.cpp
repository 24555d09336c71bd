// SPDX-License-Identifier: GPL-2.0-only
// gponflow account: count the frames of a scenario by destination.
#include <iostream>
#include <memory>

#include "tool/commands/commands.h"
#include "tool/explain/account.h"
#include "tool/live/backends.h"
#include "tool/scenario/capture_words.h"
#include "tool/scenario/open.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct account_request {
    std::string file;
    std::vector<std::string> captures;
    std::string backend = "host";
    bool json = false;
};

uint64_t frames_of(const frame_account& counted)
{
    uint64_t frames = 0;
    for (const direction_account& direction : counted)
        frames += direction.frames;
    return frames;
}

int account(const account_request& request)
{
    std::optional<scenario> input = open_scenario(request.file, std::cerr);
    if (!input)
        return status_invalid;
    try {
        append_captures(request.captures, *input, std::cerr);
        const std::unique_ptr<backend> target = make_backend(request.backend);
        frame_account counted;
        exit_status status = account_scenario(*input, *target, counted, std::cerr);
        if (frames_of(counted) == 0)
            std::cerr << "gponflow: warning: no frame to count: name a capture with --pcap\n";
        if (status == status_ok && (input->incomplete || frames_of(counted) == 0))
            status = status_failed;
        if (request.json)
            print_account_json(counted, request.file, std::cout);
        else
            print_account(counted, std::cout);
        return finish_output() ? status : status_unsupported;
    } catch (const refusal& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_unsupported;
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
}

} // namespace

void add_account_command(CLI::App& app)
{
    const auto request = std::make_shared<account_request>();
    CLI::App* sub = app.add_subcommand(
        "account", "Run a scenario and count its frames by direction and destination");
    sub->add_option("FILE", request->file, "Scenario file, - for standard input")->required();
    sub->add_option("--pcap", request->captures,
                    "Captures to run after the scenario, with options of a pcap command after "
                    "commas: FILE,kind=up_uni,port=1; default kind: up_ani; - for standard input");
    sub->add_option("--backend", request->backend,
                    "host: the module in this process; device: the module in the running kernel")
        ->check(CLI::IsMember(backend_names()))
        ->capture_default_str();
    sub->add_flag("--json", request->json, "Print JSON");
    sub->footer("\nExamples:\n  gponflow account scenarios/demo.scn\n"
                "  gponflow account line.scn --pcap lost.pcap\n"
                "  gponflow account line.scn --pcap lost.pcap,kind=up_uni,port=2 --json\n\n"
                "A dropped frame is counted under its tags and the managed entity that decided: "
                "the end of the branch that came furthest.");
    sub->callback([request] {
        if (const int status = account(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
