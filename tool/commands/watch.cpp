// SPDX-License-Identifier: GPL-2.0-only
// gponflow watch: print the rules periodically.
#include <chrono>
#include <functional>
#include <iostream>
#include <memory>

#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/source.h"
#include "tool/live/screen.h"
#include "tool/live/stop_signals.h"
#include "tool/live/watch.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct watch_request {
    live_source source;
    bool once = false;
    bool json = false;
    unsigned interval = 2;
};

void print(const std::vector<std::string>& lines)
{
    for (const std::string& line : lines)
        std::cout << line << '\n';
    std::cout << std::flush;
}

// Whole seconds would change the rate of a short interval by up to half.
constexpr uint64_t milliseconds_a_second = 1000;

uint64_t milliseconds_now()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::vector<std::string> updated_lines(module_reader& reader, rule_watch& watch, bool json)
{
    const rule_table table = reader.table();
    const uint64_t now = milliseconds_now();
    watch.update(table, now, {reader.load_number(), reader.take_change()});
    if (json)
        return {watch.json_line(now, "s")};
    return watch.lines(now, "s");
}

using table_lines = std::vector<std::string>;

// Handles keys, resizes and signals until the next update is due. True on exit.
bool wait_for_update(stop_signals& stop, screen& terminal, unsigned interval)
{
    using clock = std::chrono::steady_clock;
    const clock::time_point next = clock::now() + std::chrono::seconds(interval);
    for (auto left = next - clock::now(); left.count() > 0; left = next - clock::now()) {
        const auto time = std::chrono::ceil<std::chrono::milliseconds>(left);
        if (stop.wait(terminal.keys(), static_cast<int>(time.count())) || terminal.wants_to_end())
            return true;
    }
    return false;
}

// Updates the table until the user exits.
void keep_updating(table_lines lines, const std::function<table_lines()>& update, unsigned interval,
                   bool json)
{
    stop_signals stop;
    if (const std::unique_ptr<screen> terminal = json ? nullptr : open_screen()) {
        terminal->show(lines);
        while (!wait_for_update(stop, *terminal, interval))
            terminal->show(update());
        return;
    }
    print(lines);
    while (std::cout && !stop.wait(-1, static_cast<int>(interval) * 1000))
        print(update());
}

int watch_device(const watch_request& request, module_reader& reader)
{
    rule_watch watch(milliseconds_a_second);
    const auto update = [&] { return updated_lines(reader, watch, request.json); };
    // An error of the module is printed before curses takes the terminal.
    table_lines lines = update();
    if (request.once)
        print(lines);
    else
        keep_updating(std::move(lines), update, request.interval, request.json);
    return finish_output() ? status_ok : status_unsupported;
}

// The rules of a scenario do not change: the user can only scroll.
void show_until_end(const table_lines& lines)
{
    stop_signals stop;
    const std::unique_ptr<screen> terminal = open_screen();
    if (!terminal) {
        print(lines);
        return;
    }
    terminal->show(lines);
    while (!stop.wait(terminal->keys(), -1) && !terminal->wants_to_end())
        continue;
}

int watch(const watch_request& request)
{
    if (request.source.file.empty())
        return read_source(request.source,
                           [&](module_reader& reader) { return watch_device(request, reader); });
    const auto opened = open_source(request.source);
    if (!opened)
        return opened.status();
    const scenario& parsed = opened->value();
    const std::unique_ptr<backend> target = make_host_backend();
    const watched_scenario watched =
        watch_scenario(without_last_unload(parsed), *target, std::cerr, request.json);
    if (watched.status == status_ok && (request.once || request.json))
        print(watched.lines);
    else if (watched.status == status_ok)
        show_until_end(watched.lines);
    return finish_output() ? status_with_input(watched.status, parsed) : status_unsupported;
}

} // namespace

void add_watch_command(CLI::App& app)
{
    const auto request = std::make_shared<watch_request>();
    CLI::App* sub = app.add_subcommand("watch", "Watch rules with their age, hits and path");
    CLI::Option* file =
        sub->add_option("FILE", request->source.file,
                        "Scenario to run in this process; default: the running kernel");
    add_onu_option(*sub, request->source.onu)->needs(file);
    sub->add_flag("--once", request->once, "Print the rules once and exit");
    sub->add_flag("--json", request->json, "Print one JSON document a line for each update");
    add_number(
        *sub, "--interval",
        [request](uint64_t seconds) {
            request->interval = static_cast<decltype(request->interval)>(seconds);
        },
        3600, 1, "Seconds between two updates (default 2)");
    const char* screen_help =
        has_screen()
            ? "On a terminal the table fills the screen: arrow and page keys, Home and End "
              "scroll, q or Ctrl-C exits. Elsewhere the table is printed at each update, "
              "until Ctrl-C."
            : "This build has no terminal library: the table is printed at each update, "
              "until Ctrl-C.";
    sub->footer(std::string("\nExamples:\n  gponflow watch\n"
                            "  gponflow watch --once scenarios/demo.scn\n\n"
                            "For a running kernel, AGE counts seconds since the first update that "
                            "showed the rule; a > marks a rule that existed before. For a scenario "
                            "AGE is exact, in jiffies.\n") +
                screen_help);
    sub->callback([request] {
        if (const int status = watch(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
