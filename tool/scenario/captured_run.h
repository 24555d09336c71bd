// SPDX-License-Identifier: GPL-2.0-only
// Runs the commands of a scenario without a transcript.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"
#include "tool/scenario/path_memory.h"
#include "tool/scenario/run.h"

namespace gponflow {

/// Runs commands for programs that read their effect. expect and echo are skipped. Derived classes
/// override the on_ functions of the commands that they handle. The object owns the sink of the
/// backend during its lifetime.
class captured_run {
public:
    explicit captured_run(backend& target);
    virtual ~captured_run();
    captured_run(const captured_run&) = delete;
    captured_run& operator=(const captured_run&) = delete;

    /// Runs all commands. A refusal of the backend is printed and ends the run.
    [[nodiscard]] exit_status run(const scenario& input, std::ostream& diagnostics);

    /// Shows the progress of long captures on a terminal. Not for callers that print during the
    /// run.
    void show_progress() { progress_ = true; }

    /// One hook call with the events of its frame. Throws refusal.
    [[nodiscard]] traced_call traced_hook(const packet_options& options, const bytes& frame)
    {
        return target_.traced_hook(options, frame);
    }

    /// A hook call of which only the path matters.
    struct path_call {
        traced_call call;   ///< has events if it is the first
        size_t path = 0;    ///< frames with the same number have the same path
        bool first = false; ///< of this number, which is the count of numbers so far
    };

    /// Like traced_hook for the first frame of a path. The state of the module after other frames
    /// is the same, but the call is left out if it has no effect. A path whose events are missing
    /// is not remembered. Throws refusal.
    [[nodiscard]] path_call hook_by_path(const packet_options& options, const bytes& frame);

    /// Whether the kernel dropped log text since the last call of this function.
    [[nodiscard]] bool lost_lines() { return std::exchange(lost_, false); }

    /// The output of an operator's command, written to the proc entry or, without one, to the
    /// character device. Nothing when neither exists. Throws refusal.
    [[nodiscard]] std::optional<std::string> query(std::string_view line);

protected:
    virtual void on_load();
    virtual void on_me(const me_command& command);
    /// The call is left out if it has no effect.
    virtual void on_frame(const packet_options& options, const captured_frame& frame);
    /// A frame of a capture whose frames go through both hook calls of their direction. Without an
    /// override, only the first call is made.
    virtual void on_path(const packet_options& options, const captured_frame& frame);
    /// Called after every command except hook calls: the state of the module may have changed.
    virtual void on_change() {}

    backend& target_;

private:
    struct visitor;

    [[nodiscard]] std::optional<rule_place> place_of(const packet_options& options,
                                                     const bytes& frame);
    [[nodiscard]] std::optional<hook_return> repeat(const path_memory::path& known,
                                                    const rule_place& place,
                                                    const packet_options& options,
                                                    const bytes& frame);

    path_memory paths_;
    size_t path_count_ = 0;
    bool faults_ = false;               ///< some call fails: no frame is like another
    std::optional<std::string> output_; ///< of the query that runs
    bool lost_ = false;
    bool progress_ = false;
};

} // namespace gponflow
