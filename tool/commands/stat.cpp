// SPDX-License-Identifier: GPL-2.0-only
// gponflow stat: print the counters of the module.
#include <chrono>
#include <iostream>
#include <memory>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/live/counter_text.h"
#include "tool/live/stop_signals.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

using stat_clock = std::chrono::steady_clock;

struct stat_request {
    live_source source;
    bool json = false;
    bool open_metrics = false;
    bool all = false;
    unsigned interval = 0; ///< seconds; 0 prints once
};

struct timed_snapshot {
    counter_snapshot counters;
    stat_clock::time_point taken;
};

timed_snapshot take_snapshot(module_reader& reader, const timed_snapshot* before)
{
    timed_snapshot result;
    result.counters = read_snapshot(reader, before ? &before->counters : nullptr);
    result.taken = stat_clock::now();
    return result;
}

void print(const stat_request& request, const timed_snapshot& now, const timed_snapshot* before)
{
    counter_rates rates;
    if (before)
        rates = {&before->counters,
                 std::chrono::duration<double>(now.taken - before->taken).count()};
    if (request.open_metrics)
        print_open_metrics(now.counters, std::cout);
    else if (request.json)
        print_counters_json(now.counters, request.interval != 0, std::cout);
    else
        print_counters(now.counters, rates, request.all, std::cout);
    std::cout << std::flush;
    if (now.counters.mixed)
        std::cerr << "gponflow: warning: the module was loaded again while its counters were read: "
                     "they may be of several modules\n";
}

int print_stat(const stat_request& request, module_reader& reader)
{
    timed_snapshot last = take_snapshot(reader, nullptr);
    print(request, last, nullptr);
    if (request.interval != 0) {
        stop_signals stop;
        while (std::cout && !stop.wait(-1, static_cast<int>(request.interval) * 1000)) {
            timed_snapshot now = take_snapshot(reader, &last);
            print(request, now, &last);
            last = std::move(now);
        }
    }
    return finish_output() ? status_ok : status_unsupported;
}

} // namespace

void add_stat_command(CLI::App& app)
{
    const auto request = std::make_shared<stat_request>();
    CLI::App* sub = app.add_subcommand("stat", "Print the counters of the module");
    add_source_options(*sub, request->source);
    CLI::Option* as_json = sub->add_flag("--json", request->json, "Print JSON");
    CLI::Option* metrics = sub->add_flag("--openmetrics", request->open_metrics,
                                         "Print OpenMetrics text for a metrics collector");
    metrics->excludes(as_json);
    sub->add_flag("--all", request->all, "Print counters that are 0, too")
        ->excludes(as_json)
        ->excludes(metrics);
    add_number(
        *sub, "--interval",
        [request](uint64_t seconds) { request->interval = static_cast<unsigned>(seconds); }, 3600,
        1, "Print again every so many seconds, with the increase a second")
        ->excludes(metrics);
    sub->footer("\nExamples:\n"
                "  gponflow stat\n"
                "  gponflow stat --interval 5 --json\n"
                "  gponflow stat scenarios/demo.scn\n\n"
                "Without a scenario, the module of the running kernel is read; this requires root "
                "and prints nothing to the kernel log.");
    sub->callback([request] {
        const int status = read_source(
            request->source, [&](module_reader& reader) { return print_stat(*request, reader); });
        if (status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
