// SPDX-License-Identifier: GPL-2.0-only
// Runs the commands of a scenario for what they leave behind, without a transcript.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"
#include "tool/scenario/run.h"

namespace gponflow {

/// Collects the module's log while it runs commands; expectations and echoes are passed over. What
/// is of interest on the way is overridden. The backend's sink is its own while it lives.
class captured_run {
public:
    explicit captured_run(backend& where);
    virtual ~captured_run();
    captured_run(const captured_run&) = delete;
    captured_run& operator=(const captured_run&) = delete;

    /// Runs all commands; where the backend refuses, says so and stops.
    exit_status run(const scenario& what, std::ostream& diagnostics);

    /// From now on, says on a terminal how far a long capture is. Not for who prints meanwhile.
    void show_progress() { progress_ = true; }

    /// One hook call with the module's log at full detail, which log() then holds. Throws refusal.
    std::optional<hook_answer> hook_in_detail(const packet_options& options, const bytes& frame);

    /// One hook call; log() then holds what was logged during the call. Throws refusal.
    std::optional<hook_answer> hook(const packet_options& options, const bytes& frame);

    /// Whether the kernel has dropped log text since the last call of this function.
    bool lost_lines() { return std::exchange(lost_, false); }

    /// What the module answers to an operator's command: through the proc entry, or through the
    /// character device where there is no entry. Nothing when neither is there. Throws refusal.
    std::optional<std::string> ask(std::string_view line);

    /// What the module has logged since the last hook call of this class, or since clear_log.
    const std::string& log() const { return log_; }
    void clear_log() { log_.clear(); }

protected:
    virtual void on_load();
    virtual void on_me(const me_command& command);
    virtual void on_frame(const packet_options& options, const bytes& frame);
    /// After every command but hook calls: what the module holds may be another thing now.
    virtual void on_change() {}

    backend& where_;

private:
    struct visitor;

    std::string log_;
    bool lost_ = false;
    bool progress_ = false;
};

} // namespace gponflow
