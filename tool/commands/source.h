// SPDX-License-Identifier: GPL-2.0-only
// Input of a live command: the module in the running kernel, or a scenario that runs first.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/live/module_reader.h"
#include "tool/scenario/captured_run.h"
#include "tool/text/or_status.h"

namespace gponflow {

struct live_source {
    std::string file;    ///< a scenario; empty: the running module
    std::string onu;     ///< address of one of several ONUs of a capture, or empty
    std::string backend; ///< empty: host with a scenario, device without
};

/// Adds FILE (its option's name, e.g. "FILE" or "--scenario"), --onu and --backend.
void add_source_options(CLI::App& app, live_source& into, const std::string& file_option = "FILE");

/// The scenario, or nothing for the running module. An empty line is marked as incomplete. Prints
/// errors to standard error.
[[nodiscard]] or_status<std::optional<scenario>> open_source(const live_source& from);

/// `status`, but failed instead of success if the scenario is incomplete.
[[nodiscard]] int status_with_input(int status, const scenario& input);

/// The name of the backend, with the default for an empty name.
[[nodiscard]] std::string backend_of(const live_source& from);

/// Creates the backend, runs the scenario if there is one and then `action`, and returns its
/// status. Throws the refusals of the backend, which main() prints.
[[nodiscard]] int run_on_source(const live_source& from,
                                const std::function<int(captured_run&)>& action);

/// The same for an action that reads records of the module. The scenario makes each of its hook
/// calls, also those without a new path.
[[nodiscard]] int read_source(const live_source& from,
                              const std::function<int(module_reader&)>& action);

/// The same for an action on the changes during the scenario.
[[nodiscard]] int follow_source(const live_source& from, const change_sink& sink);

/// Prints that the module is not loaded and returns the status for it.
[[nodiscard]] int report_not_loaded();

} // namespace gponflow
