// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/source.h"

#include <iostream>
#include <utility>

#include "tool/commands/arguments.h"
#include "tool/commands/line_input.h"
#include "tool/live/backends.h"
#include "tool/live/kernel_reader.h"
#include "tool/live/process_reader.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

// Counts each frame, also those that a captured_run leaves out.
class whole_run final : public captured_run {
public:
    using captured_run::captured_run;

private:
    void on_frame(const packet_options& options, const captured_frame& frame) override
    {
        static_cast<void>(target_.hook(options, &frame.data));
    }
};

} // namespace

void add_source_options(CLI::App& app, live_source& into, const std::string& file_option)
{
    CLI::Option* file = app.add_option(
        file_option, into.file,
        "Scenario to run first; without it, the module of the running kernel is used");
    add_onu_option(app, into.onu)->needs(file);
    app.add_option("--backend", into.backend,
                   "host: the module in this process (needs a scenario); device: the module in the "
                   "running kernel")
        ->check(CLI::IsMember(backend_names()));
}

or_status<std::optional<scenario>> open_source(const live_source& from)
{
    if (from.file.empty()) {
        if (from.backend == "host") {
            std::cerr << "gponflow: --backend=host needs a scenario: the module in this process "
                         "starts empty\n";
            return status_invalid;
        }
        return std::optional<scenario>();
    }
    std::optional<opened_line> line = open_line(from.file, from.onu, std::cerr);
    if (!line)
        return status_invalid;
    line->input.incomplete = line->input.incomplete || !line->complete;
    return std::optional<scenario>(std::move(line->input));
}

int status_with_input(int status, const scenario& input)
{
    return status == status_ok && input.incomplete ? status_failed : status;
}

std::string backend_of(const live_source& from)
{
    if (!from.backend.empty())
        return from.backend;
    return from.file.empty() ? "device" : "host";
}

int run_on_source(const live_source& from, const std::function<int(captured_run&)>& action)
{
    const auto opened = open_source(from);
    if (!opened)
        return opened.status();
    const std::optional<scenario>& parsed = *opened;
    const std::unique_ptr<backend> target = make_backend(backend_of(from));
    captured_run run(*target);
    if (parsed) {
        const exit_status status = run.run(without_last_unload(*parsed), std::cerr);
        if (status != status_ok)
            return status;
    }
    const int outcome = action(run);
    if (run.lost_lines())
        std::cerr
            << "gponflow: kernel log lines were lost, the output may be incomplete: boot with "
               "a larger log_buf_len\n";
    return parsed ? status_with_input(outcome, *parsed) : outcome;
}

int read_source(const live_source& from, const std::function<int(module_reader&)>& action)
{
    const auto opened = open_source(from);
    if (!opened)
        return opened.status();
    const std::optional<scenario>& parsed = *opened;
    std::unique_ptr<backend> target;
    if (parsed) {
        target = make_backend(backend_of(from));
        const exit_status status = whole_run(*target).run(without_last_unload(*parsed), std::cerr);
        if (status != status_ok)
            return status;
    }
    const std::unique_ptr<module_reader> reader =
        backend_of(from) == "host" ? make_process_reader() : make_kernel_reader();
    const int outcome = action(*reader);
    // An action that prints several results notes the change of each one itself.
    if (reader->take_change())
        std::cerr << "gponflow: warning: rules or entities changed while they were read: some may "
                     "be missing or listed twice\n";
    return parsed ? status_with_input(outcome, *parsed) : outcome;
}

int follow_source(const live_source& from, const change_sink& sink)
{
    const auto opened = open_source(from);
    if (!opened)
        return opened.status();
    const scenario& parsed = opened->value();
    const std::unique_ptr<backend> target = make_host_backend();
    const process_changes changes(sink);
    return status_with_input(whole_run(*target).run(parsed, std::cerr), parsed);
}

int report_not_loaded()
{
    std::cerr << "gponflow: the module is not loaded: neither its proc entry nor its character "
                 "device exists\n";
    return status_unsupported;
}

} // namespace gponflow
