// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/captured_run.h"

#include <ostream>
#include <sstream>
#include <utility>

#include "tool/scenario/control.h"
#include "tool/text/diagnostic.h"
#include "tool/text/progress.h"

namespace gponflow {

// One function for each kind of command: none can be forgotten.
struct captured_run::visitor {
    captured_run& run;
    backend& where;

    void operator()(const load_command&) const { run.on_load(); }
    void operator()(const unload_command&) const { where.unload(); }
    void operator()(const me_command& command) const { run.on_me(command); }
    void operator()(const config_command& command) const { send(where, command); }
    void operator()(const debug_command& command) const { send(where, command); }
    void operator()(const clean_command& command) const { send(where, command); }
    void operator()(const ioctl_command& command) const { send(where, command); }
    void operator()(const proc_write_command& command) const { where.proc_write(command.text); }
    void operator()(const proc_read_command&) const { where.proc_read(); }
    void operator()(const advance_command& command) const { where.advance(command.jiffies); }
    void operator()(const expect_command&) const {}
    void operator()(const echo_command&) const {}
    void operator()(const fault_command& command) const
    {
        where.arm_fault(command.what, command.nth);
    }

    void operator()(const platform_command& command) const
    {
        if (command.mapping)
            where.set_mapping(*command.mapping);
        if (command.queue)
            where.set_queue_mapping(*command.queue);
    }

    void operator()(const hook_command& command) const
    {
        if (command.frame)
            run.on_frame(command.options, *command.frame);
        else
            where.hook(command.options, nullptr);
    }

    void operator()(const pcap_command& command) const
    {
        progress_line progress(command.file, run.progress_ ? command.frames.size() : 0);
        for (size_t i = 0; i < command.frames.size(); ++i) {
            run.on_frame(command.options, command.frames[i]);
            progress.show(i + 1);
        }
    }
};

captured_run::captured_run(backend& where) : where_(where)
{
    where_.set_sink([this](const backend_event& event) {
        if (event.what == backend_event::kind::log)
            log_ += event.text;
        else if (event.what == backend_event::kind::lost)
            lost_ = true;
    });
}

captured_run::~captured_run()
{
    where_.set_sink(nullptr);
}

exit_status captured_run::run(const scenario& what, std::ostream& diagnostics)
{
    for (const scenario_line& line : what.lines) {
        try {
            std::visit(visitor{*this, where_}, line.what);
            if (!std::holds_alternative<hook_command>(line.what) &&
                !std::holds_alternative<pcap_command>(line.what))
                on_change();
        } catch (const refusal& why) {
            diagnostics << diagnostic{what.name, line.line, 0, why.what()}.text() << '\n';
            return status_unsupported;
        }
    }
    return status_ok;
}

std::optional<hook_answer> captured_run::hook_in_detail(const packet_options& options,
                                                        const bytes& frame)
{
    where_.proc_write("set debug_level 7");
    log_.clear();
    const std::optional<hook_answer> answer = where_.hook(options, &frame);
    std::string told = std::move(log_);
    where_.proc_write("set debug_level 0");
    log_ = std::move(told);
    return answer;
}

std::optional<hook_answer> captured_run::hook(const packet_options& options, const bytes& frame)
{
    log_.clear();
    return where_.hook(options, &frame);
}

std::optional<std::string> captured_run::ask(std::string_view line)
{
    std::string before = std::exchange(log_, {});
    std::optional<long> answer = where_.proc_write(line);
    if (!answer) {
        debug_command words;
        std::istringstream rest{std::string(line)};
        for (std::string word; rest >> word;)
            words.words.push_back(word);
        answer = send(where_, words);
    }
    std::string told = std::exchange(log_, std::move(before));
    if (!answer)
        return {};
    return told;
}

void captured_run::on_load()
{
    where_.load();
}

void captured_run::on_me(const me_command& command)
{
    send(where_, command);
}

void captured_run::on_frame(const packet_options& options, const bytes& frame)
{
    where_.hook(options, &frame);
}

} // namespace gponflow
