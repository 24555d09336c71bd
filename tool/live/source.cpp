// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/source.h"

#include <algorithm>
#include <iostream>

#include "tool/scenario/open.h"

namespace gponflow {

void add_source_options(CLI::App& app, live_source& into, const std::string& file_option)
{
    app.add_option(file_option, into.file,
                   "A scenario that runs first; without it, the module of the running kernel is "
                   "looked at");
    app.add_option("--backend", into.backend,
                   "Where: host, the module in this process (needs a scenario), or device, the "
                   "module in the running kernel")
        ->check(CLI::IsMember(backend_names()));
}

scenario without_last_unload(scenario what)
{
    const auto last = std::find_if(what.lines.rbegin(), what.lines.rend(), [](const auto& line) {
        return std::holds_alternative<load_command>(line.what) ||
               std::holds_alternative<unload_command>(line.what);
    });
    if (last != what.lines.rend() && std::holds_alternative<unload_command>(last->what))
        what.lines.erase(std::prev(last.base()), what.lines.end());
    return what;
}

std::optional<scenario> open_source(const live_source& from, exit_status& status)
{
    status = all_held;
    if (from.file.empty()) {
        if (from.backend == "host") {
            std::cerr << "gponflow: --backend=host needs a scenario: the module in this process "
                         "begins empty\n";
            status = not_understood;
        }
        return {};
    }
    std::optional<scenario> parsed = open_scenario(from.file, std::cerr);
    if (!parsed)
        status = not_understood;
    return parsed;
}

std::string backend_of(const live_source& from)
{
    if (!from.backend.empty())
        return from.backend;
    return from.file.empty() ? "device" : "host";
}

int look_at(const live_source& from, const std::function<int(quiet_run&)>& look)
{
    exit_status status = all_held;
    const std::optional<scenario> parsed = open_source(from, status);
    if (status != all_held)
        return status;
    try {
        const std::unique_ptr<backend> where = make_backend(backend_of(from));
        quiet_run run(*where);
        if (parsed)
            status = run.run(without_last_unload(*parsed), std::cerr);
        if (status != all_held)
            return status;
        const int outcome = look(run);
        if (run.lost_lines())
            std::cerr << "gponflow: lines of the kernel log were lost, something may be missing: "
                         "boot with a larger log_buf_len\n";
        return outcome;
    } catch (const refusal& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return not_supported;
    }
}

int tell_not_loaded()
{
    std::cerr << "gponflow: the module is not loaded: there is neither its proc entry nor its "
                 "character device\n";
    return not_supported;
}

} // namespace gponflow
