// SPDX-License-Identifier: GPL-2.0-only
// gponflow run: run a scenario and print its transcript.
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "tool/commands/commands.h"
#include "tool/live/backends.h"
#include "tool/scenario/open.h"
#include "tool/scenario/run.h"
#include "tool/scenario/trace_event_text.h"
#include "tool/scenario/transcript_json.h"

namespace gponflow {

namespace {

struct run_arguments {
    std::string file;
    std::string backend = "host";
    bool mask_lines = false;
    bool json = false;
    std::string events; ///< file; empty: none
};

constexpr const char* run_help = R"(
A scenario has one command per line; lines that begin with # are comments:

  load                        load the module; the engine is off
  hook kind=switch param=1    turn the engine on
  me create PPTP_ETHERNET_UNI 0x101
  me create MAC_BRIDGE_SERVICE_PROFILE 1
  me create MAC_BRIDGE_PORT_CON_DATA 1 bridgeID=1 tpType=1 tpPointer=0x101
  hook kind=up_uni port=1 frame=ffffffffffff0202020202020800
  expect ret=2                the hook function returns 2 for every frame
  debug show raw_data         print every instance to the log
  unload

Exit status: 0 every command ran and every expect held, 1 an expect failed, 2 invalid line or
unreadable file (nothing ran), 3 the backend does not support a command.)";

// An incomplete transcript must not look like success to a script that compares it.
int written(exit_status status)
{
    if (std::cout.flush())
        return status;
    std::cerr << "gponflow: cannot write the transcript to standard output\n";
    return status_unsupported;
}

exit_status refuse_events_file(const std::string& file)
{
    std::cerr << "gponflow: cannot write the trace events to " << file << '\n';
    return status_unsupported;
}

// The transcript goes to `out`.
exit_status run_with_events(const run_arguments& arguments, const scenario& input,
                            std::ostream& out)
{
    const std::unique_ptr<backend> target = make_backend(arguments.backend);
    if (arguments.events.empty())
        return run_scenario(input, *target, out, std::cerr, arguments.mask_lines);
    // A backend without events refuses the sink, and the file keeps its contents.
    std::ofstream file;
    target->set_event_sink(
        [&file](const gpon_trace_record& event) { file << event_text(event) << '\n'; });
    file.open(arguments.events);
    if (!file)
        return refuse_events_file(arguments.events);
    const exit_status status = run_scenario(input, *target, out, std::cerr, arguments.mask_lines);
    target->set_event_sink(nullptr);
    return file.flush() ? status : refuse_events_file(arguments.events);
}

int run(const run_arguments& arguments)
{
    const std::optional<scenario> parsed = open_scenario(arguments.file, std::cerr);
    if (!parsed)
        return status_invalid;
    // A file that was never written is empty, too.
    if (parsed->lines.empty())
        std::cerr << arguments.file << ": warning: no command: the scenario is empty\n";
    if (!arguments.json)
        return written(run_with_events(arguments, *parsed, std::cout));
    std::ostringstream transcript;
    const exit_status status = run_with_events(arguments, *parsed, transcript);
    print_transcript_json(transcript.str(), parsed->name, std::cout);
    return written(status);
}

} // namespace

void add_run_command(CLI::App& app)
{
    const auto arguments = std::make_shared<run_arguments>();
    CLI::App* run_app = app.add_subcommand("run", "Run a scenario and print its transcript");
    run_app->add_option("FILE", arguments->file, "Scenario file, - for standard input")->required();
    run_app
        ->add_option("--backend", arguments->backend,
                     "host: the module in this process; device: the module in the running kernel")
        ->check(CLI::IsMember(backend_names()))
        ->capture_default_str();
    run_app->add_flag("--mask-lines", arguments->mask_lines,
                      "Print the source line numbers of log messages as 0");
    run_app->add_flag("--json", arguments->json, "Print JSON");
    run_app
        ->add_option("--events", arguments->events,
                     "Write the trace events of the module to this file, one a line (host)")
        ->type_name("FILE");
    run_app->footer(run_help);
    run_app->callback([arguments] {
        if (const int status = run(*arguments); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
