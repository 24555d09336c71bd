// SPDX-License-Identifier: GPL-2.0-only
// The subcommands of gponflow, each in a file of its own.
#pragma once

#include <CLI/CLI.hpp>

namespace gponflow {

/// Each function adds a subcommand. The subcommand runs while the command line is parsed and uses
/// the standard streams. It throws CLI::RuntimeError with an exit status other than 0.
void add_run_command(CLI::App& app);
void add_account_command(CLI::App& app);
void add_check_command(CLI::App& app);
void add_graph_command(CLI::App& app);
void add_explain_command(CLI::App& app);
void add_show_command(CLI::App& app);
void add_trace_command(CLI::App& app);
void add_watch_command(CLI::App& app);
void add_completion_command(CLI::App& app);
void add_set_command(CLI::App& app);
void add_clean_command(CLI::App& app);
void add_omci_command(CLI::App& app);
void add_report_command(CLI::App& app);
void add_stat_command(CLI::App& app);
void add_monitor_command(CLI::App& app);

} // namespace gponflow
