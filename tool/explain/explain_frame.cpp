// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/explain_frame.h"

#include <ostream>
#include <utility>

#include "tool/explain/active_filter.h"
#include "tool/explain/replay.h"
#include "tool/explain/tagging_entry.h"
#include "tool/explain/walk_reader.h"
#include "tool/explain/walk_splitter.h"
#include "tool/live/instances.h"
#include "tool/live/module_status.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/final_state.h"
#include "tool/text/lines.h"

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

// A marked frame of a direction without a walk logs nothing.
bool engine_is_on(captured_run& runner)
{
    return read_switch(runner.query("show en_flag").value_or("")).value_or(false);
}

// The log of the frame itself, out of the log of all marked frames.
std::string log_of(const captured_run& runner, explanation& result)
{
    std::vector<std::string> walks;
    walk_splitter splitter([&](const std::string& one) { walks.push_back(one); });
    for_each_line(runner.log(), [&](std::string_view line) { splitter.line(line); });
    splitter.flush();
    result.others_mixed = walks.size() > 1;
    return walks.empty() ? std::string() : walks.back();
}

// One hook call of a frame that the trace filter marks. The log may also hold other frames of the
// same addresses.
std::optional<hook_answer> hook_marked(captured_run& runner, const explained_frame& frame)
{
    const active_filter filter(runner, filter_of(frame.frame.data));
    return runner.hook(frame.options, frame.frame.data);
}

// The frame as the hook call gets it; nothing if a tagging operation discards it.
std::optional<explained_frame> carried_input(explanation& result)
{
    result.tagging = carry_to_hook(result.entities, result.input.options, result.input.frame);
    if (result.tagging.discarded) {
        result.answer = hook_answer{0, 1, 0, 0};
        result.story.ran = true;
        return {};
    }
    explained_frame frame = result.input;
    frame.frame.data = result.tagging.frame;
    return frame;
}

void run_frame(captured_run& runner, explanation& result, explain_mode mode)
{
    const std::optional<explained_frame> carried = carried_input(result);
    if (!carried)
        return;
    const explained_frame& frame = *carried;
    const bool marked = mode == explain_mode::trace_filter;
    result.answer = marked ? hook_marked(runner, frame)
                           : runner.hook_in_detail(frame.options, frame.frame.data);
    const std::string log = marked ? log_of(runner, result) : runner.log();
    result.story = read_walk(log, result.entities, &frame.frame.data);
    if (marked)
        result.story.ran = result.story.ran || engine_is_on(runner);
    if (result.story.replayed)
        name_replay(result.story, runner, frame.options, frame.frame.data);
    result.lines_lost = runner.lost_lines();
}

} // namespace

explain_session::explain_session(backend& target, explain_mode mode) : runner_(target), mode_(mode)
{
    runner_.show_progress();
}

exit_status explain_session::run(const scenario& before, std::ostream& diagnostics)
{
    const exit_status status = runner_.run(before, diagnostics);
    if (mode_ == explain_mode::trace_filter)
        entities_ = model_of(read_instances(runner_.query("show raw_data").value_or("")));
    else
        entities_ = final_entities(before);
    return status;
}

explanation explain_session::explain(const explained_frame& frame)
{
    explanation result{frame, {}, {}, entities_};
    run_frame(runner_, result, mode_);
    return result;
}

std::optional<explanation> explain_frame(const scenario& input, backend& target,
                                         const std::optional<explained_frame>& frame,
                                         std::ostream& diagnostics, exit_status& status,
                                         explain_mode mode)
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
        status = status_invalid;
        return {};
    }
    const scenario before{input.name,
                          {input.lines.begin(), input.lines.begin() + static_cast<long>(count)}};
    explain_session session(target, mode);
    status = session.run(before, diagnostics);
    if (status != status_ok)
        return {};
    return session.explain(*chosen);
}

} // namespace gponflow
