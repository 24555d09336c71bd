// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

struct subcommand {
    std::string_view name;
    void (*add)(CLI::App& app);
};

// In the order of the help page.
constexpr subcommand subcommands[] = {
    {"run", gponflow::add_run_command},
    {"account", gponflow::add_account_command},
    {"check", gponflow::add_check_command},
    {"graph", gponflow::add_graph_command},
    {"explain", gponflow::add_explain_command},
    {"show", gponflow::add_show_command},
    {"trace", gponflow::add_trace_command},
    {"watch", gponflow::add_watch_command},
    {"completion", gponflow::add_completion_command},
    {"set", gponflow::add_set_command},
    {"clean", gponflow::add_clean_command},
    {"omci", gponflow::add_omci_command},
    {"report", gponflow::add_report_command},
    {"stat", gponflow::add_stat_command},
    {"monitor", gponflow::add_monitor_command},
};

// The options of all subcommands take longer to create than most of them run. A subcommand whose
// name is no word of the command line cannot be chosen, so it is left out. The help page, the
// message about an unknown subcommand, and the completion scripts list all.
void add_subcommands(CLI::App& app, const std::vector<std::string>& words)
{
    const auto is_word = [&](std::string_view name) {
        return std::ranges::find(words, name) != words.end();
    };
    const auto is_first = [&](const subcommand& one) { return words.front() == one.name; };
    const bool all =
        words.empty() || std::ranges::none_of(subcommands, is_first) || is_word("completion");
    for (const subcommand& one : subcommands)
        if (all || is_word(one.name))
            one.add(app);
}

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
    add_subcommands(app, words);
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
