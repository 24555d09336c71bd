// SPDX-License-Identifier: GPL-2.0-only
// gponflow trace: trace the frames that a filter marks.
#include <iostream>
#include <memory>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/explain/trace_device.h"
#include "tool/explain/trace_scenario.h"
#include "tool/live/backends.h"

namespace gponflow {

namespace {

struct trace_request {
    std::string filter;
    live_source source;
    trace_limits limits;
};

int trace(const trace_request& request)
{
    trace_filter filter;
    try {
        filter = read_trace_filter(request.filter);
        if (const std::string note = priority_note(request.filter); !note.empty())
            std::cerr << "gponflow: warning: " << note << '\n';
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
    const auto opened = open_source(request.source);
    if (!opened)
        return opened.status();
    const std::optional<scenario>& parsed = *opened;
    const std::unique_ptr<backend> target = make_backend(backend_of(request.source));
    if (!parsed) {
        const exit_status status =
            trace_device(*target, filter, request.limits, std::cout, std::cerr, colours_of(1));
        return finish_output() ? status : status_unsupported;
    }
    const exit_status status =
        trace_scenario(*parsed, *target, filter, request.limits.frames, std::cout, std::cerr,
                       colours_of(1), request.limits.json);
    return finish_output() ? status_with_input(status, *parsed) : status_unsupported;
}

} // namespace

void add_trace_command(CLI::App& app)
{
    const auto request = std::make_shared<trace_request>();
    CLI::App* sub = app.add_subcommand("trace", "Trace the frames that match a filter");
    sub->add_option("FILTER", request->filter,
                    "One word: \"dst_mac=MAC src_mac=MAC outer_vlan=VLAN inner_vlan=VLAN\"")
        ->required();
    add_source_options(*sub, request->source);
    add_number(
        *sub, "--count", [request](uint64_t count) { request->limits.frames = count; }, UINT32_MAX,
        1, "Stop after this number of frames");
    add_number(
        *sub, "--seconds",
        [request](uint64_t seconds) {
            request->limits.seconds = static_cast<decltype(request->limits.seconds)>(seconds);
        },
        UINT32_MAX, 1, "Stop after this time (running kernel only)");
    add_number(
        *sub, "--buffer", [request](uint64_t size) { request->limits.buffer_kilobytes = size; },
        1u << 20, 1,
        "Size of the kernel's trace buffer for each CPU, in KiB (running kernel only)");
    sub->add_flag("--json", request->limits.json, "Print one JSON document a line");
    sub->footer(
        "\nExamples:\n"
        "  gponflow trace \"src_mac=02:00:00:00:01:02\"\n"
        "  gponflow trace \"src_mac=02:00:00:00:01:02 outer_vlan=100p5\" --count 1\n"
        "  gponflow trace \"outer_vlan=101\" scenarios/tour.scn\n\n"
        "Without a scenario, the filter is set in the module of the running kernel, and the trace "
        "events of the marked frames are read. This requires root and a kernel with tracefs. The "
        "filter is cleared at the end, also on Ctrl-C. After kill -9 it stays set: use gponflow "
        "set trace off. If the kernel drops events because the buffer is full, their number is "
        "printed at the end. A frame must match all given fields. VLAN is VLAN id and priority "
        "(100p5), or the whole TCI (0xa064); without a priority it is 0.");
    sub->callback([request] {
        if (const int status = trace(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
