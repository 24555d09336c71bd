// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/explain_frame.h"

#include <ostream>
#include <utility>

#include "tool/explain/active_filter.h"
#include "tool/explain/replay.h"
#include "tool/explain/walk_reader.h"
#include "tool/explain/walk_splitter.h"
#include "tool/live/instances.h"
#include "tool/live/module_status.h"
#include "tool/live/rule_table.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/final_state.h"
#include "tool/text/lines.h"

namespace gponflow {

namespace {

// How many lines of the scenario run before the frame, and the frame.
std::pair<size_t, std::optional<explained_frame>> last_frame(const scenario& what)
{
    for (size_t at = what.lines.size(); at-- > 0;) {
        const auto* hook = std::get_if<hook_command>(&what.lines[at].what);
        if (hook && hook->frame)
            return {at, explained_frame{hook->options, *hook->frame}};
    }
    return {what.lines.size(), std::nullopt};
}

// A marked frame of a direction without a walk says nothing at all.
bool engine_is_on(captured_run& runner)
{
    return read_switch(runner.ask("show en_flag").value_or("")).value_or(false);
}

// The log of the frame alone, from that of all that were marked.
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
    const active_filter filter(runner, filter_of(frame.frame));
    return runner.hook(frame.options, frame.frame);
}

void run_frame(captured_run& runner, explanation& result, told_by how)
{
    const explained_frame& frame = result.what;
    const bool marked = how == told_by::trace_mark;
    result.answer =
        marked ? hook_marked(runner, frame) : runner.hook_in_detail(frame.options, frame.frame);
    const std::string log = marked ? log_of(runner, result) : runner.log();
    result.story = read_walk(log, result.entities, &frame.frame);
    if (marked)
        result.story.ran = result.story.ran || engine_is_on(runner);
    if (result.story.replayed) {
        const auto rules = read_rule_table(runner.ask("show flow_rule").value_or(""));
        if (const dumped_rule* rule =
                rules ? rules->find(key_of(frame.options, frame.frame)) : nullptr)
            name_replay(result.story, *rule);
    }
    result.lines_lost = runner.lost_lines();
}

} // namespace

std::optional<explanation> explain_frame(const scenario& what, backend& where,
                                         const std::optional<explained_frame>& frame,
                                         std::ostream& diagnostics, exit_status& status,
                                         told_by how)
{
    auto [count, chosen] = last_frame(what);
    if (frame) {
        count = what.lines.size();
        chosen = frame;
    }
    if (!chosen) {
        diagnostics << what.name
                    << ": no frame: the scenario has no hook command with a frame, and the "
                       "command line names none\n";
        status = status_invalid;
        return {};
    }
    const scenario before{what.name,
                          {what.lines.begin(), what.lines.begin() + static_cast<long>(count)}};
    captured_run runner(where);
    runner.show_progress();
    status = runner.run(before, diagnostics);
    if (status != status_ok)
        return {};
    explanation result{*chosen, {}, {}, {}};
    if (how == told_by::trace_mark)
        result.entities = mirror_of(read_instances(runner.ask("show raw_data").value_or("")));
    else
        result.entities = final_entities(before);
    run_frame(runner, result, how);
    return result;
}

} // namespace gponflow
