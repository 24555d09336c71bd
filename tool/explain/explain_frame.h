// SPDX-License-Identifier: GPL-2.0-only
// Runs one frame and reads its path from the module's own log.
#pragma once

#include <iosfwd>
#include <optional>

#include "tool/explain/frame_choice.h"
#include "tool/explain/walk_story.h"
#include "tool/scenario/backend.h"
#include "tool/text/exit_status.h"

namespace gponflow {

struct explanation {
    explained_frame what;
    walk_story story;
    std::optional<hook_answer> answer;
    mirror entities;           ///< as they stood when the frame came
    bool lines_lost = false;   ///< log text is missing
    bool others_mixed = false; ///< other frames of the same addresses came at the same time
};

/// How the module is made to tell a frame's way.
enum class told_by {
    full_detail, ///< all of its messages, of whatever goes on
    trace_mark   ///< those about the frame alone, on a line with traffic; what entities and rules
                 ///< there are is asked of the module
};

/// Runs the scenario, then the frame; without a frame, the last frame of a hook command of the
/// scenario takes its place and is not run twice. Nothing when the backend refused or there is no
/// frame: `status` and `diagnostics` say so.
std::optional<explanation> explain_frame(const scenario& what, backend& where,
                                         const std::optional<explained_frame>& frame,
                                         std::ostream& diagnostics, exit_status& status,
                                         told_by how = told_by::full_detail);

} // namespace gponflow
