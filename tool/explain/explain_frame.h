// SPDX-License-Identifier: GPL-2.0-only
// Runs one frame and reads its path from the log of the module.
#pragma once

#include <iosfwd>
#include <optional>

#include "tool/explain/frame_choice.h"
#include "tool/explain/walk_story.h"
#include "tool/model/carry.h"
#include "tool/scenario/backend.h"
#include "tool/scenario/captured_run.h"
#include "tool/text/exit_status.h"

namespace gponflow {

struct explanation {
    explained_frame input;
    walk_story story;
    std::optional<hook_answer> answer;
    line_model entities;       ///< at the time of the frame
    carried_frame tagging{};   ///< operations before the hook call
    bool lines_lost = false;   ///< log text is missing
    bool others_mixed = false; ///< other frames with the same addresses came at the same time
};

/// The frame as the hook call gets it: behind the tagging operations before it.
[[nodiscard]] inline captured_frame frame_at_hook(const explanation& of)
{
    captured_frame frame = of.input.frame;
    if (!of.tagging.frame.empty() && of.tagging.frame != frame.data) {
        frame.wire_length = frame.wire_length + of.tagging.frame.size() - frame.data.size();
        frame.data = of.tagging.frame;
    }
    return frame;
}

/// How the module is made to log the path of a frame.
enum class explain_mode {
    full_log,    ///< all log levels, which log every frame
    trace_filter ///< messages about the frame only, for a line with traffic; the entities and rules
                 ///< are queried from the module
};

/// A module after a scenario, to which frames are sent one by one.
class explain_session {
public:
    explicit explain_session(backend& target, explain_mode mode = explain_mode::full_log);

    /// Runs the commands before the frames. Diagnostics as for captured_run.
    [[nodiscard]] exit_status run(const scenario& before, std::ostream& diagnostics);

    /// One frame, with its path. Throws refusal.
    [[nodiscard]] explanation explain(const explained_frame& frame);

    [[nodiscard]] const line_model& entities() const { return entities_; }

private:
    captured_run runner_;
    explain_mode mode_;
    line_model entities_;
};

/// Runs the scenario, then the frame. Without a frame, it uses the last frame of a hook command of
/// the scenario and does not run it twice. Returns nothing when the backend refused or there is no
/// frame; `status` and `diagnostics` then have the reason.
[[nodiscard]] std::optional<explanation> explain_frame(const scenario& input, backend& target,
                                                       const std::optional<explained_frame>& frame,
                                                       std::ostream& diagnostics,
                                                       exit_status& status,
                                                       explain_mode mode = explain_mode::full_log);

} // namespace gponflow
