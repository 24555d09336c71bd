// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/explain_frame.h"

#include <ostream>
#include <utility>

#include "tool/capture/frame_header.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/tagging_entry.h"
#include "tool/live/kernel_reader.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

// The number of lines before the last frame of the scenario, and the frame.
std::pair<size_t, std::optional<explained_frame>> last_frame(const scenario& input)
{
    for (size_t at = input.lines.size(); at-- > 0;) {
        const auto* hook = std::get_if<hook_command>(&input.lines[at].command);
        if (hook && hook->frame)
            return {at, explained_frame{hook->options, captured_frame(*hook->frame)}};
    }
    return {input.lines.size(), std::nullopt};
}

// The frame as the hook call gets it; nothing if a tagging operation discards it.
std::optional<explained_frame> carried_input(explanation& result)
{
    result.tagging = carry_to_hook(result.entities, result.input.options, result.input.frame);
    if (result.tagging.discarded) {
        result.returned = hook_return{0, 1, 0, 0};
        result.walk.ran = true;
        return {};
    }
    explained_frame frame = result.input;
    frame.frame.data = result.tagging.frame;
    return frame;
}

void run_frame(captured_run& runner, explanation& result)
{
    // Filters and operations would take a frame without its tags for an untagged one.
    if (hides_tags(result.input.frame))
        return;
    const std::optional<explained_frame> carried = carried_input(result);
    if (!carried ||
        !missing_field(result.entities, result.input.options, result.input.frame, result.tagging)
             .empty())
        return;
    const bytes& frame = carried->frame.data;
    const traced_call call = runner.traced_hook(carried->options, frame);
    result.returned = call.returned;
    result.walk = walk_of(call, result.entities, frame);
    result.events_lost = call.lost;
    result.others_mixed = call.others;
}

} // namespace

explain_session::explain_session(backend& target, entity_source source)
    : runner_(target), source_(source)
{
    runner_.show_progress();
}

exit_status explain_session::run(const scenario& before, std::ostream& diagnostics)
{
    const exit_status status = runner_.run(before, diagnostics);
    if (source_ == entity_source::module)
        entities_ = model_of(make_kernel_reader()->instances());
    else
        entities_ = final_entities(before);
    return status;
}

explanation explain_session::explain(const explained_frame& frame)
{
    explanation result{frame, {}, {}, entities_};
    run_frame(runner_, result);
    return result;
}

or_status<explanation> explain_frame(const scenario& input, backend& target,
                                     const std::optional<explained_frame>& frame,
                                     std::ostream& diagnostics, entity_source source)
{
    auto [count, chosen] = last_frame(input);
    if (frame) {
        count = input.lines.size();
        chosen = frame;
    }
    if (!chosen) {
        diagnostics << input.name
                    << ": no frame: the scenario has no hook command with a frame, and the "
                       "command line names none\n";
        return status_invalid;
    }
    const scenario before{input.name,
                          {input.lines.begin(), input.lines.begin() + static_cast<long>(count)}};
    explain_session session(target, source);
    if (const exit_status status = session.run(before, diagnostics); status != status_ok)
        return status;
    return session.explain(*chosen);
}

} // namespace gponflow
