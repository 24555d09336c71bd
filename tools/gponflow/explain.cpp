// SPDX-License-Identifier: GPL-2.0-only
#include "tools/gponflow/explain.h"

#include <ostream>
#include <stdexcept>
#include <utility>

#include "tools/gponflow/control.h"
#include "tools/gponflow/scenario/captures.h"
#include "tools/gponflow/scenario/error.h"
#include "tools/gponflow/scenario/parse.h"

namespace gponflow {

namespace {

// Runs commands for what they leave behind, and one frame for its log.
class quiet_runner {
public:
    explicit quiet_runner(backend& where) : backend_(where)
    {
        backend_.set_sink([this](const backend_event& event) {
            if (event.what == backend_event::kind::log)
                log_ += event.text;
        });
    }
    ~quiet_runner() { backend_.set_sink(nullptr); }
    quiet_runner(const quiet_runner&) = delete;
    quiet_runner& operator=(const quiet_runner&) = delete;

    void execute(const load_command&) { backend_.load(); }
    void execute(const unload_command&) { backend_.unload(); }
    void execute(const me_command& command) { send(backend_, command); }
    void execute(const config_command& command) { send(backend_, command); }
    void execute(const debug_command& command) { send(backend_, command); }
    void execute(const clean_command& command) { send(backend_, command); }
    void execute(const ioctl_command& command) { send(backend_, command); }
    void execute(const proc_write_command& command) { backend_.proc_write(command.text); }
    void execute(const proc_read_command&) { backend_.proc_read(); }
    void execute(const advance_command& command) { backend_.advance(command.jiffies); }
    void execute(const expect_command&) {}
    void execute(const echo_command&) {}
    void execute(const fault_command& command) { backend_.arm_fault(command.what, command.nth); }

    void execute(const platform_command& command)
    {
        if (command.mapping)
            backend_.set_mapping(*command.mapping);
        if (command.queue)
            backend_.set_queue_mapping(*command.queue);
    }

    void execute(const hook_command& command)
    {
        backend_.hook(command.options, command.frame ? &*command.frame : nullptr);
    }

    void execute(const pcap_command& command)
    {
        for (const bytes& frame : command.frames)
            backend_.hook(command.options, &frame);
    }

    explanation explain(const explained_frame& what, mirror entities)
    {
        backend_.proc_write("set debug_level 7");
        log_.clear();
        explanation result{what, {}, backend_.hook(what.options, &what.frame), std::move(entities)};
        result.story = read_walk(log_, result.entities);
        backend_.proc_write("set debug_level 0");
        return result;
    }

private:
    backend& backend_;
    std::string log_;
};

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
            return read_capture(from.capture);
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
                                         std::ostream& diagnostics, exit_status& status)
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
    quiet_runner runner(where);
    scenario before{what.name, {what.lines.begin(), what.lines.begin() + static_cast<long>(count)}};
    for (const scenario_line& line : before.lines) {
        try {
            std::visit([&](const auto& one) { runner.execute(one); }, line.what);
        } catch (const refusal& why) {
            diagnostics << diagnostic{what.name, line.line, 0, why.what()}.text() << '\n';
            status = not_supported;
            return {};
        }
    }
    status = all_held;
    return runner.explain(*chosen, mirror(before));
}

} // namespace gponflow
