// SPDX-License-Identifier: GPL-2.0-only
// gponflow monitor: print the changes of rules and managed entities as they happen.
#include <iostream>
#include <memory>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/live/change_follower.h"
#include "tool/live/change_printer.h"
#include "tool/live/kernel_reader.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct monitor_request {
    live_source source;
    change_format format;
};

void follow_kernel(const monitor_request& request)
{
    kernel_changes changes = kernel_changes::open();
    change_printer out(request.format, changes.last_number(), std::cout);
    follow_changes(changes, out, std::cout, std::cerr);
}

int monitor(const monitor_request& request)
{
    int status = status_ok;
    if (request.source.file.empty()) {
        follow_kernel(request);
    } else {
        change_printer out(request.format, {}, std::cout);
        status =
            follow_source(request.source, [&](const module_change& change) { out.take(change); });
    }
    if (!finish_output())
        return status_unsupported;
    return status;
}

} // namespace

void add_monitor_command(CLI::App& app)
{
    const auto request = std::make_shared<monitor_request>();
    CLI::App* sub =
        app.add_subcommand("monitor", "Print changes of rules and entities as they happen");
    CLI::Option* file =
        sub->add_option("FILE", request->source.file,
                        "Scenario to run in this process; default: the running kernel");
    add_onu_option(*sub, request->source.onu)->needs(file);
    sub->add_flag("--json", request->format.json, "Print one JSON document a line for each change");
    add_number(
        *sub, "--count", [request](uint64_t count) { request->format.count = count; }, UINT32_MAX,
        1, "Exit after so many changes");
    sub->footer("\nExamples:\n"
                "  gponflow monitor\n"
                "  gponflow monitor --json scenarios/tour.scn\n\n"
                "Following the running kernel requires root. If changes come faster than they are "
                "read, some are not sent; a line says how many.");
    sub->callback([request] {
        if (const int status = monitor(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
