// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/captured_run.h"

#include <ostream>
#include <tuple>
#include <utility>

#include "tool/scenario/control.h"
#include "tool/text/diagnostic.h"
#include "tool/text/progress.h"

namespace gponflow {

// One function for each command: a missing one does not compile.
// Only what the commands log is captured, not their results.
struct captured_run::visitor {
    captured_run& run;
    backend& target;

    void operator()(const load_command&) const { run.on_load(); }
    void operator()(const unload_command&) const { target.unload(); }
    void operator()(const me_command& command) const { run.on_me(command); }
    void operator()(const config_command& command) const { std::ignore = send(target, command); }
    void operator()(const debug_command& command) const { std::ignore = send(target, command); }
    void operator()(const clean_command& command) const { std::ignore = send(target, command); }
    void operator()(const ioctl_command& command) const { std::ignore = send(target, command); }
    void operator()(const proc_write_command& command) const
    {
        std::ignore = target.proc_write(command.text);
    }
    void operator()(const proc_read_command&) const { std::ignore = target.proc_read(); }
    void operator()(const advance_command& command) const { target.advance(command.jiffies); }
    void operator()(const expect_command&) const {}
    void operator()(const echo_command&) const {}
    void operator()(const silence_command&) const {}
    void operator()(const tagging_command&) const {}
    void operator()(const fault_command& command) const
    {
        run.faults_ = true;
        target.arm_fault(command.service, command.nth);
    }

    void operator()(const platform_command& command) const
    {
        if (command.mapping)
            target.set_mapping(*command.mapping);
        if (command.queue)
            target.set_queue_mapping(*command.queue);
    }

    void operator()(const hook_command& command) const
    {
        if (command.frame)
            run.on_frame(command.options, captured_frame(*command.frame));
        else {
            run.paths_.forget();
            std::ignore = target.hook(command.options, nullptr);
        }
    }

    void operator()(const pcap_command& command) const
    {
        progress_line progress(command.file, run.progress_ ? command.frames.size() : 0);
        for (size_t i = 0; i < command.frames.size(); ++i) {
            if (command.whole_path)
                run.on_path(command.options, command.frames[i]);
            else
                run.on_frame(command.options, command.frames[i]);
            progress.show(i + 1);
        }
    }
};

captured_run::captured_run(backend& target) : target_(target)
{
    target_.set_sink([this](const backend_event& event) {
        if (event.type == backend_event::kind::log && output_)
            *output_ += event.text;
        else if (event.type == backend_event::kind::lost)
            lost_ = true;
    });
}

captured_run::~captured_run()
{
    target_.set_sink(nullptr);
}

exit_status captured_run::run(const scenario& input, std::ostream& diagnostics)
{
    for (const scenario_line& line : input.lines) {
        try {
            std::visit(visitor{*this, target_}, line.command);
            if (!std::holds_alternative<hook_command>(line.command) &&
                !std::holds_alternative<pcap_command>(line.command)) {
                paths_.forget();
                on_change();
            }
        } catch (const refusal& why) {
            diagnostics << diagnostic{input.name, line.line, 0, why.what()}.text() << '\n';
            return status_unsupported;
        }
    }
    return status_ok;
}

captured_run::path_call captured_run::hook_by_path(const packet_options& options,
                                                   const bytes& frame)
{
    const std::optional<rule_place> place = place_of(options, frame);
    std::string key = place ? path_memory::key_of(options, frame, *place) : std::string();
    if (const path_memory::path* known = place ? paths_.find(key) : nullptr)
        return {{repeat(*known, *place, options, frame), {}}, known->number, false};
    path_call result{traced_hook(options, frame), path_count_++, true};
    // The next frame of the path may show what is missing.
    if (place && !result.call.lost && !result.call.unseen)
        paths_.add(std::move(key), {result.call.returned, result.path});
    return result;
}

// Of a replay, find_rule has had the only effect; a frame that is dropped has none.
std::optional<hook_return> captured_run::repeat(const path_memory::path& known,
                                                const rule_place& place,
                                                const packet_options& options, const bytes& frame)
{
    const bool learns = place.state == rule_place::open && known.returned->api_result == 0;
    return learns ? target_.hook(options, &frame) : known.returned;
}

std::optional<std::string> captured_run::query(std::string_view line)
{
    output_.emplace();
    std::optional<long> returned;
    try {
        returned = send_line(target_, line);
    } catch (const refusal&) {
        output_.reset();
        throw;
    }
    std::optional<std::string> output = std::exchange(output_, {});
    return returned ? output : std::nullopt;
}

void captured_run::on_load()
{
    std::ignore = target_.load();
}

void captured_run::on_me(const me_command& command)
{
    std::ignore = send(target_, command);
}

void captured_run::on_frame(const packet_options& options, const captured_frame& frame)
{
    const std::optional<rule_place> place = place_of(options, frame.data);
    if (!place) {
        std::ignore = target_.hook(options, &frame.data);
        return;
    }
    std::string key = path_memory::key_of(options, frame.data, *place);
    if (const path_memory::path* known = paths_.find(key))
        std::ignore = repeat(*known, *place, options, frame.data);
    else
        paths_.add(std::move(key), {target_.hook(options, &frame.data), 0});
}

void captured_run::on_path(const packet_options& options, const captured_frame& frame)
{
    on_frame(options, frame);
}

// Nothing for a frame that may not be like another.
std::optional<rule_place> captured_run::place_of(const packet_options& options, const bytes& frame)
{
    return faults_ ? std::nullopt : target_.find_rule(options, frame);
}

} // namespace gponflow
