// SPDX-License-Identifier: GPL-2.0-only
// Runs one frame and reads its path from the trace events of the module.
#pragma once

#include <iosfwd>
#include <optional>

#include "tool/explain/frame_choice.h"
#include "tool/explain/walk_record.h"
#include "tool/model/carry.h"
#include "tool/scenario/backend.h"
#include "tool/scenario/captured_run.h"
#include "tool/text/or_status.h"

namespace gponflow {

struct explanation {
    explained_frame input;
    walk_record walk;
    std::optional<hook_return> returned;
    line_model entities;              ///< at the time of the frame
    carried_frame tagging{};          ///< operations before the hook call
    std::optional<uint16_t> bridge{}; ///< that an earlier hook call led the frame into
    bool events_lost = false;         ///< the kernel dropped events
    bool others_mixed = false; ///< other frames with the same addresses came at the same time
};

/// The frame as the hook call gets it: after the tagging operations before it.
[[nodiscard]] inline captured_frame frame_at_hook(const explanation& of)
{
    captured_frame frame = of.input.frame;
    if (!of.tagging.frame.empty() && of.tagging.frame != frame.data) {
        frame.wire_length = frame.wire_length + of.tagging.frame.size() - frame.data.size();
        frame.data = of.tagging.frame;
    }
    return frame;
}

/// Where the entities come from by which a path is explained.
enum class entity_source {
    scenario, ///< the commands before the frame
    module    ///< queries: the scenario is not all that a line has seen
};

/// A module after a scenario, to which frames are sent one by one.
class explain_session {
public:
    explicit explain_session(backend& target, entity_source source = entity_source::scenario);

    /// Runs the commands before the frames. Diagnostics as for captured_run.
    [[nodiscard]] exit_status run(const scenario& before, std::ostream& diagnostics);

    /// One frame, with its path. Throws refusal.
    [[nodiscard]] explanation explain(const explained_frame& frame);

    [[nodiscard]] const line_model& entities() const { return entities_; }

private:
    captured_run runner_;
    entity_source source_;
    line_model entities_;
};

/// Runs the scenario, then the frame. Without a frame, it uses the last frame of a hook command of
/// the scenario and does not run it twice. Returns no explanation when the backend refused or there
/// is no frame.
[[nodiscard]] or_status<explanation> explain_frame(const scenario& input, backend& target,
                                                   const std::optional<explained_frame>& frame,
                                                   std::ostream& diagnostics,
                                                   entity_source source = entity_source::scenario);

} // namespace gponflow
