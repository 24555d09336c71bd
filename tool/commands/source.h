// SPDX-License-Identifier: GPL-2.0-only
// What a live command looks at: the module in the running kernel, or a scenario that runs first.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "tool/scenario/captured_run.h"

namespace gponflow {

struct live_source {
    std::string file;    ///< a scenario; empty for the module as it runs
    std::string backend; ///< empty: host with a scenario, device without
};

/// Adds FILE (its option's name, e.g. "FILE" or "--scenario") and --backend.
void add_source_options(CLI::App& app, live_source& into, const std::string& file_option = "FILE");

/// A scenario to look at, or nothing for the module as it runs. Says on standard error what is
/// wrong with it, and sets the status then.
std::optional<scenario> open_source(const live_source& from, exit_status& status);

/// The backend's name that stands for an empty one.
std::string backend_of(const live_source& from);

/// Makes the backend, runs the scenario if there is one and then `look`, whose status it answers.
/// Refusals are told on standard error.
int look_at(const live_source& from, const std::function<int(captured_run&)>& look);

/// Says that the module is not loaded; the status of a command that needs it.
int tell_not_loaded();

} // namespace gponflow
