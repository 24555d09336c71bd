// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/run.h"

#include <ostream>

#include "tool/scenario/control.h"
#include "tool/scenario/result_line.h"
#include "tool/scenario/transcript.h"
#include "tool/text/diagnostic.h"

namespace gponflow {

namespace {

class runner {
public:
    runner(backend& target, std::ostream& out, bool mask_lines)
        : backend_(target), transcript_(out, mask_lines)
    {
        backend_.set_sink([this](const backend_event& event) {
            if (event.type == backend_event::kind::lost)
                throw refusal(std::string(event.text));
            if (event.type == backend_event::kind::log)
                transcript_.log(event.text);
            else
                transcript_.call(event.text);
        });
    }

    ~runner() { backend_.set_sink(nullptr); }
    runner(const runner&) = delete;
    runner& operator=(const runner&) = delete;

    void run(const scenario_line& line)
    {
        if (is_fact(line.command))
            return;
        transcript_.command(line.text);
        std::visit([this](const auto& command) { execute(command); }, line.command);
        transcript_.flush();
    }

    void flush() { transcript_.flush(); }
    bool panicked() const { return panicked_; }
    bool all_held() const { return all_held_; }

private:
    void finish(result_line line)
    {
        transcript_.result(line.text());
        last_ = std::move(line);
    }

    void execute(const load_command&)
    {
        if (const std::optional<int> returned = backend_.load())
            finish(result_line::number("load", *returned));
        else
            panicked_ = true;
    }

    void execute(const unload_command&)
    {
        backend_.unload();
        finish(result_line("unload"));
    }

    std::optional<hook_return> call_hook(const packet_options& options, const bytes* frame)
    {
        const std::optional<hook_return> returned = backend_.hook(options, frame);
        finish(result_line::of_hook(returned, frame != nullptr));
        return returned;
    }

    void execute(const hook_command& command)
    {
        call_hook(command.options, command.frame ? &*command.frame : nullptr);
    }

    void execute(const pcap_command& command)
    {
        size_t ok = 0;
        for (const captured_frame& frame : command.frames) {
            const std::optional<hook_return> returned = call_hook(command.options, &frame.data);
            if (returned && returned->api_result == 0)
                ++ok;
        }
        result_line summary("pcap");
        summary.add("frames", std::to_string(command.frames.size()));
        summary.add("ok", std::to_string(ok));
        summary.add("failed", std::to_string(command.frames.size() - ok));
        finish(std::move(summary));
    }

    void execute(const me_command& command)
    {
        finish(result_line::of("me", send(backend_, command)));
    }

    void execute(const config_command& command)
    {
        finish(result_line::of("config", send(backend_, command)));
    }

    void execute(const debug_command& command)
    {
        finish(result_line::of("debug", send(backend_, command)));
    }

    void execute(const clean_command& command)
    {
        finish(result_line::of("clean", send(backend_, command)));
    }

    void execute(const ioctl_command& command)
    {
        finish(result_line::of("ioctl", send(backend_, command)));
    }

    void execute(const proc_write_command& command)
    {
        finish(result_line::of("proc", backend_.proc_write(command.text)));
    }

    void execute(const proc_read_command&)
    {
        finish(result_line::of("proc", backend_.proc_read()));
    }

    void execute(const advance_command& command)
    {
        const uint64_t now = backend_.advance(command.jiffies);
        finish(result_line::number("jiffies", now));
    }

    void execute(const platform_command& command)
    {
        if (command.mapping)
            backend_.set_mapping(*command.mapping);
        if (command.queue)
            backend_.set_queue_mapping(*command.queue);
    }

    void execute(const fault_command& command) { backend_.arm_fault(command.service, command.nth); }

    void execute(const expect_command& command)
    {
        for (const expectation& expected : command.all) {
            const std::string_view got = last_.value_of(expected.name);
            if (holds(expected, got))
                continue;
            all_held_ = false;
            transcript_.failed_expectation(expected.name + "=" + expected.value_text,
                                           got.empty() ? "nothing" : got);
        }
    }

    void execute(const echo_command& command) { transcript_.echo(command.text); }

    void execute(const silence_command&) {}

    void execute(const tagging_command&) {}

    backend& backend_;
    transcript transcript_;
    result_line last_{""};
    bool panicked_ = false;
    bool all_held_ = true;
};

} // namespace

exit_status run_scenario(const scenario& input, backend& target, std::ostream& out,
                         std::ostream& diagnostics, bool mask_lines)
{
    runner runner(target, out, mask_lines);
    for (const scenario_line& line : input.lines) {
        try {
            runner.run(line);
        } catch (const refusal& why) {
            runner.flush();
            diagnostics << diagnostic{input.name, line.line, 0, why.what()}.text() << '\n';
            return status_unsupported;
        }
        if (runner.panicked())
            break;
    }
    return runner.all_held() && !input.incomplete ? status_ok : status_failed;
}

} // namespace gponflow
