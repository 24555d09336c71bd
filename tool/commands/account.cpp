// SPDX-License-Identifier: GPL-2.0-only
// gponflow account: count the frames of a scenario by destination.
#include <iostream>
#include <memory>
#include <optional>

#include "tool/commands/commands.h"
#include "tool/commands/fleet_options.h"
#include "tool/commands/line_input.h"
#include "tool/commands/traffic_options.h"
#include "tool/explain/account.h"
#include "tool/live/backends.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct account_request {
    fleet_request inputs;
    traffic_options traffic;
    std::string backend = "host";
    bool json = false;
};

uint64_t frames_of(const frame_account& counted)
{
    uint64_t frames = 0;
    for (const direction_account& direction : counted.directions)
        frames += direction.frames;
    return frames;
}

exit_status count(const account_request& request, const opened_line& line, frame_account& counted)
{
    const std::unique_ptr<backend> target = make_backend(request.backend);
    const exit_status status = account_scenario(line.input, *target, counted, std::cerr);
    if (frames_of(counted) == 0)
        std::cerr << "gponflow: warning: no frame to count: "
                  << (request.traffic.captures.empty() ? "name a capture with --pcap"
                                                       : "the capture of --pcap has none")
                  << '\n';
    const bool whole = line.complete && !line.input.incomplete && frames_of(counted) != 0;
    return status == status_ok && !whole ? status_failed : status;
}

int account_one(const account_request& request)
{
    const std::string& file = request.inputs.only();
    std::optional<opened_line> line = open_line(file, request.inputs.onu, std::cerr);
    if (!line)
        return status_invalid;
    frame_account counted;
    counted.entry = append_traffic(read_traffic(request.traffic, std::cerr), request.traffic.entry,
                                   line->input);
    const exit_status status = count(request, *line, counted);
    if (request.json)
        print_json(account_json(counted, file), std::cout);
    else
        print_account(counted, std::cout);
    return finish_output() ? status : status_unsupported;
}

line_result account_of_many(const account_request& request, const scenario& traffic,
                            const std::string& input)
{
    std::optional<opened_line> line = open_line(input, request.inputs.onu, std::cerr);
    if (!line)
        return {status_invalid, nullptr, nullptr};
    frame_account counted;
    try {
        counted.entry = append_traffic(traffic, request.traffic.entry, line->input);
        const exit_status status = count(request, *line, counted);
        return {status, std::move(line->origin), account_json(counted, input)};
    } catch (const refusal& why) {
        std::cerr << input << ": " << why.what() << '\n';
        return {status_unsupported, std::move(line->origin), nullptr};
    } catch (const std::runtime_error& why) {
        std::cerr << input << ": " << why.what() << '\n';
        return {status_invalid, std::move(line->origin), nullptr};
    }
}

// The captures are read once, before the processes of the inputs start.
int account_many(const account_request& request)
{
    if (request.backend == "device")
        throw CLI::ExcludesError("--backend=device is for one input: the kernel has one module",
                                 CLI::ExitCodes::ExcludesError);
    const scenario traffic = read_traffic(request.traffic, std::cerr);
    return run_lines(request.inputs, "account", [&](const std::string& input) {
        return account_of_many(request, traffic, input);
    });
}

int account(const account_request& request)
{
    try {
        return request.inputs.wants_lines() ? account_many(request) : account_one(request);
    } catch (const CLI::Error&) {
        throw;
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
        "account", "Run lines and count their frames by direction and destination");
    add_fleet_options(*sub, request->inputs,
                      "Scenarios or captures of OMCI messages, - for standard input");
    add_traffic_options(*sub, request->traffic);
    sub->add_option("--backend", request->backend,
                    "host: the module in this process; device: the module in the running kernel")
        ->check(CLI::IsMember(backend_names()))
        ->capture_default_str();
    sub->add_flag("--json", request->json, "Print JSON");
    sub->footer("\nExamples:\n  gponflow account scenarios/demo.scn\n"
                "  gponflow account line.scn --pcap lost.pcap --uni 2\n"
                "  gponflow account bring-up.pcap --pcap replies.pcap --gem 1025 --json\n"
                "  gponflow account line.scn --pcap lost.pcap,kind=up_ani\n"
                "  gponflow account --files list --pcap probe.pcap --uni 1 --jobs 4 > "
                "lines.jsonl\n\n"
                "A dropped frame is counted under its tags and the managed entity that dropped it. "
                "If the frame was refused in several places, this is the entity that it reached "
                "after the most steps.\n\n" +
                std::string(traffic_help) + "\n\n" + fleet_help);
    sub->callback([request] {
        if (const int status = account(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
