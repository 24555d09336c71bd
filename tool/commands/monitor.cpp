// SPDX-License-Identifier: GPL-2.0-only
// gponflow monitor: print the changes of rules and managed entities as they happen.
#include <iostream>
#include <memory>
#include <optional>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/live/change_text.h"
#include "tool/live/kernel_reader.h"
#include "tool/live/stop_signals.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct monitor_request {
    live_source source;
    bool json = false;
    uint64_t count = 0; ///< changes to print; 0: no limit
};

// Prints changes, and how many are missing between two of them.
class printer {
public:
    /// last: number of the last change before the first one that can come.
    printer(const monitor_request& request, std::optional<uint32_t> last)
        : request_(request), last_(last)
    {
    }

    void take(const module_change& change)
    {
        if (is_complete())
            return;
        const uint32_t missing = last_ ? change.number - *last_ - 1 : 0;
        if (missing != 0 && missing < numbers_apart) {
            print(request_.json ? missing_json(missing) : missing_text(missing));
        }
        if (missing < numbers_apart)
            last_ = change.number;
        print(request_.json ? json_of(change) : text_of(change));
        ++printed_;
    }

    [[nodiscard]] bool is_complete() const
    {
        return request_.count != 0 && printed_ >= request_.count;
    }

private:
    // A greater difference is that of a number up to the last one: the kernel sends changes in the
    // order of their numbers, but the first ones may have come before the last number was read.
    static constexpr uint32_t numbers_apart = 1u << 31;

    static void print(const std::string& line) { std::cout << line << '\n' << std::flush; }

    const monitor_request& request_;
    std::optional<uint32_t> last_;
    uint64_t printed_ = 0;
};

// Ends at a signal, and when the module is unloaded.
void follow_kernel(const monitor_request& request)
{
    kernel_changes changes = kernel_changes::open();
    printer out(request, changes.last_number());
    stop_signals stop;
    std::cerr << "gponflow: monitoring; Ctrl-C ends\n";
    // A signal comes behind the changes that have arrived: they are read before the end.
    for (bool ended = false; std::cout && !out.is_complete() && !ended;) {
        ended = stop.wait(changes.number(), -1);
        const auto [lost, unloaded] =
            changes.read([&](const module_change& change) { out.take(change); });
        if (lost)
            std::cerr << "gponflow: the kernel dropped changes\n";
        if (unloaded)
            std::cerr << "gponflow: the module was unloaded\n";
        ended = ended || unloaded;
    }
}

int monitor(const monitor_request& request)
{
    int status = status_ok;
    if (request.source.file.empty()) {
        follow_kernel(request);
    } else {
        printer out(request, {});
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
    sub->add_flag("--json", request->json, "Print one JSON document a line for each change");
    add_number(
        *sub, "--count", [request](uint64_t count) { request->count = count; }, UINT32_MAX, 1,
        "Exit after so many changes");
    sub->footer("\nExamples:\n"
                "  gponflow monitor\n"
                "  gponflow monitor --json scenarios/tour.scn\n\n"
                "Following the running kernel requires root. If changes come faster than they are "
                "read, the kernel drops some; a line says how many.");
    sub->callback([request] {
        if (const int status = monitor(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
