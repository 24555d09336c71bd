// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/explain.h"

#include <ostream>
#include <stdexcept>
#include <utility>

#include "tool/live/dump.h"
#include "tool/live/lines.h"
#include "tool/live/replay.h"
#include "tool/live/walk_splitter.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/captures.h"
#include "tool/scenario/parse.h"

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

explained_frame frame_of_words(const std::vector<std::string>& words, const std::string& capture)
{
    std::string line = "hook";
    for (const std::string& one : words)
        line += " " + one;
    const parse_result parsed = parse_scenario(line, "frame options");
    if (!parsed.errors.empty())
        throw std::runtime_error("the frame: " + parsed.errors.front().what);
    const auto* hook = parsed.what.lines.empty()
                           ? nullptr
                           : std::get_if<hook_command>(&parsed.what.lines.front().what);
    if (!hook)
        throw std::runtime_error("the frame: not the options of a hook command");
    if (hook->frame && !capture.empty())
        throw std::runtime_error("the frame: frame=HEX and --pcap exclude each other");
    if (!hook->frame && capture.empty())
        throw std::runtime_error("the frame: missing option: frame=HEX, or --pcap FILE");
    return {hook->options, hook->frame.value_or(bytes{})};
}

// A marked frame of a direction without a walk says nothing at all.
bool engine_is_on(quiet_run& runner)
{
    return read_switch(runner.ask("show en_flag").value_or("")).value_or(false);
}

// The log of the frame alone, from that of all that were marked.
std::string log_of(const quiet_run& runner, explanation& result)
{
    std::vector<std::string> walks;
    walk_splitter splitter([&](const std::string& one) { walks.push_back(one); });
    for_each_line(runner.log(), [&](std::string_view line) { splitter.line(line); });
    splitter.flush();
    result.others_mixed = walks.size() > 1;
    return walks.empty() ? std::string() : walks.back();
}

void run_frame(quiet_run& runner, explanation& result, told_by how)
{
    const explained_frame& frame = result.what;
    const bool marked = how == told_by::trace_mark;
    result.answer = marked ? runner.hook_marked(frame.options, frame.frame)
                           : runner.hook_in_detail(frame.options, frame.frame);
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

std::optional<explained_frame> choose_frame(const frame_choice& from)
{
    if (from.words.empty() && from.capture.empty())
        return {};
    explained_frame result = frame_of_words(from.words, from.capture);
    if (from.capture.empty())
        return result;
    const std::vector<bytes> frames = [&] {
        try {
            // What comes behind the frame may be long, or cut off in the middle.
            return read_capture(from.capture, from.number);
        } catch (const std::runtime_error& why) {
            throw std::runtime_error(from.capture + ": " + why.what());
        }
    }();
    if (from.number == 0 || from.number > frames.size())
        throw std::runtime_error(from.capture + ": no frame " + std::to_string(from.number) +
                                 ", it has " + std::to_string(frames.size()));
    result.frame = frames[from.number - 1];
    return result;
}

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
                    << ": no frame: the scenario has no hook command with one, and "
                       "none is given\n";
        status = not_understood;
        return {};
    }
    const scenario before{what.name,
                          {what.lines.begin(), what.lines.begin() + static_cast<long>(count)}};
    quiet_run runner(where);
    runner.show_progress();
    status = runner.run(before, diagnostics);
    if (status != all_held)
        return {};
    explanation result{*chosen, {}, {}, {}};
    if (how == told_by::trace_mark)
        result.entities = mirror_of(read_instances(runner.ask("show raw_data").value_or("")));
    else
        result.entities = mirror(before);
    run_frame(runner, result, how);
    return result;
}

} // namespace gponflow
