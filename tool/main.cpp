// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>

#include "tool/commands/commands.h"
#include "tool/commands/help_format.h"
#include "tool/commands/word_hints.h"
#include "tool/text/exit_status.h"
#include "tool/text/json_messages.h"

namespace {

constexpr const char* example = R"(
Example:
  gponflow run --mask-lines scenarios/demo.scn | diff scenarios/demo.transcript -
  printf 'load\nproc read\n' | gponflow run -

Each subcommand has a --help with examples. Exit status of all of them:
  0  success
  1  check failed: an expect failed (run), a problem was found (check), the
     inputs differ (omci --diff), or a capture ends early or has no frame
     (run, account, explain, graph, report, omci)
  2  invalid input, or a file could not be read or written
  3  the module is not loaded, the backend does not support a command, or
     standard output could not be written)";

// Found before the command line is parsed, whose errors are JSON too.
bool wants_json(const std::vector<std::string>& words)
{
    const auto end = std::ranges::find(words, "--");
    return std::find(words.begin(), end, "--json") != end;
}

int refuse(const CLI::App& app, const std::vector<std::string>& words, const CLI::ParseError& error)
{
    std::cerr << "gponflow: " << gponflow::message_of(app, words, error) << '\n';
    if (!wants_json(words))
        std::cerr << "Run with --help for more information.\n";
    return gponflow::status_invalid;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + (argc > 0), argv + argc);
    std::optional<gponflow::json_messages> messages;
    if (wants_json(words))
        messages.emplace(std::cerr);
    CLI::App app("Run and inspect the gpon_flow module, in this process or in the running kernel.",
                 "gponflow");
    app.formatter(std::make_shared<gponflow::help_format>());
    app.set_version_flag("--version", "gponflow " GPONFLOW_VERSION);
    app.require_subcommand(1);
    app.footer(example);
    gponflow::add_run_command(app);
    gponflow::add_account_command(app);
    gponflow::add_check_command(app);
    gponflow::add_graph_command(app);
    gponflow::add_explain_command(app);
    gponflow::add_show_command(app);
    gponflow::add_trace_command(app);
    gponflow::add_watch_command(app);
    gponflow::add_completion_command(app);
    gponflow::add_set_command(app);
    gponflow::add_clean_command(app);
    gponflow::add_omci_command(app);
    gponflow::add_report_command(app);
    gponflow::add_stat_command(app);
    gponflow::add_monitor_command(app);
    gponflow::refuse_values_of_flags(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& outcome) {
        return outcome.get_exit_code();
    } catch (const CLI::ParseError& error) {
        // --help and --version also arrive here, with status 0.
        if (error.get_exit_code() == 0)
            return app.exit(error);
        return refuse(app, words, error);
    } catch (const std::exception& error) {
        // Refusals of a backend, among others.
        std::cerr << "gponflow: " << error.what() << '\n';
        return gponflow::status_unsupported;
    }
    return gponflow::status_ok;
}
