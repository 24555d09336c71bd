// SPDX-License-Identifier: GPL-2.0-only
// Options of the commands that take many inputs.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/fleet/fleet.h"

namespace gponflow {

struct fleet_request {
    std::vector<std::string> names;
    std::string list; ///< file with names, or empty
    std::string onu;  ///< address of one of several ONUs of a capture, or empty
    std::optional<unsigned> jobs;
    unsigned limit = 0; ///< seconds for an input, 0: none

    /// Whether each input gets a line: more than one input, or an option that asks for it.
    [[nodiscard]] bool wants_lines() const
    {
        return names.size() > 1 || !list.empty() || jobs || limit != 0;
    }
    /// The only input; throws CLI::RequiredError without one.
    [[nodiscard]] const std::string& only() const;
};

/// Adds FILE, --files, --jobs and --timeout. Returns the option FILE.
CLI::Option* add_fleet_options(CLI::App& app, fleet_request& into, const std::string& description);

/// Refuses options that are for one input: throws CLI::ExcludesError.
void refuse_with_lines(const CLI::App& app, const std::vector<std::string>& options);

/// Runs the command for all inputs. Without --jobs, there are as many processes as processors.
[[nodiscard]] int run_lines(const fleet_request& request, const std::string& command,
                            const line_job& job);

/// A paragraph of the help about several inputs.
extern const char* const fleet_help;

} // namespace gponflow
