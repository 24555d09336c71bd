// SPDX-License-Identifier: GPL-2.0-only
// Subcommands that write an operator's lines to the proc entry of the module.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace gponflow {

using operator_lines = std::vector<std::string>;

/// A group of such subcommands. The flags --dry-run and --json are accepted before and after the
/// name of the subcommand.
class operator_group {
public:
    operator_group(CLI::App& app, const char* name, const char* description);

    /// Adds a subcommand. `make` builds its lines once the command line is read and throws
    /// std::runtime_error for arguments that do not fit.
    [[nodiscard]] CLI::App* add(const char* name, const char* description,
                                std::function<operator_lines()> make);

    [[nodiscard]] CLI::App& app() const { return app_; }

private:
    void add_dry_run(CLI::App& to) const;

    CLI::App& app_;
    std::shared_ptr<bool> dry_run_ = std::make_shared<bool>(false);
    std::shared_ptr<bool> json_ = std::make_shared<bool>(false);
};

} // namespace gponflow
