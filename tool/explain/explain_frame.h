// SPDX-License-Identifier: GPL-2.0-only
// Runs one frame and reads its path from the log of the module.
#pragma once

#include <iosfwd>
#include <optional>

#include "tool/explain/frame_choice.h"
#include "tool/explain/walk_story.h"
#include "tool/model/carry.h"
#include "tool/scenario/backend.h"
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

/// How the module is made to log the path of a frame.
enum class explain_mode {
    full_log,    ///< all log levels, which log every frame
    trace_filter ///< messages about the frame only, for a line with traffic; the entities and rules
                 ///< are queried from the module
};

/// Runs the scenario, then the frame. Without a frame, it uses the last frame of a hook command of
/// the scenario and does not run it twice. Returns nothing when the backend refused or there is no
/// frame; `status` and `diagnostics` then have the reason.
std::optional<explanation> explain_frame(const scenario& input, backend& target,
                                         const std::optional<explained_frame>& frame,
                                         std::ostream& diagnostics, exit_status& status,
                                         explain_mode mode = explain_mode::full_log);

} // namespace gponflow
