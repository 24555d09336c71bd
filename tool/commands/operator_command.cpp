// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/operator_command.h"

#include <iostream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "tool/commands/source.h"
#include "tool/text/json_document.h"
#include "tool/text/lines.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

// The output of the module without the state of its switch, which it prints for every command.
void print_output(const std::string& output, const palette& colours)
{
    for_each_line(output, [&](std::string_view line) {
        if (!line.starts_with("CURRENT GPON FLOW SWITCH"))
            std::cout << colours.faint(std::string("| ") + std::string(line)) << '\n';
    });
}

int send_lines_json(const operator_lines& lines, bool dry_run)
{
    json whole = json_document("commands");
    whole["dry_run"] = dry_run;
    json sent = json::array();
    const auto add = [&](const std::string& line, const std::string& output) {
        sent.push_back({{"line", line}, {"output", output}});
    };
    const auto finish = [&] {
        whole["commands"] = std::move(sent);
        print_json(whole, std::cout);
        return static_cast<int>(finish_output() ? status_ok : status_unsupported);
    };
    if (dry_run) {
        for (const std::string& line : lines)
            add(line, "");
        return finish();
    }
    return run_on_source({}, [&](captured_run& run) {
        for (const std::string& line : lines) {
            const auto output = run.query(line);
            if (!output)
                return report_not_loaded();
            add(line, *output);
        }
        return finish();
    });
}

int send_lines(const operator_lines& lines, bool dry_run)
{
    if (dry_run) {
        for (const std::string& line : lines)
            std::cout << line << '\n';
        return finish_output() ? status_ok : status_unsupported;
    }
    return run_on_source({}, [&](captured_run& run) {
        const palette colours = colours_of(1);
        for (const std::string& line : lines) {
            const auto output = run.query(line);
            if (!output)
                return report_not_loaded();
            std::cout << "> " << line << '\n';
            print_output(*output, colours);
        }
        return static_cast<int>(finish_output() ? status_ok : status_unsupported);
    });
}

} // namespace

operator_group::operator_group(CLI::App& app, const char* name, const char* description)
    : app_(*app.add_subcommand(name, description))
{
    app_.require_subcommand(1);
    add_dry_run(app_);
}

CLI::App* operator_group::add(const char* name, const char* description,
                              std::function<operator_lines()> make)
{
    CLI::App* sub = app_.add_subcommand(name, description);
    add_dry_run(*sub);
    sub->callback([make = std::move(make), dry_run = dry_run_, as_json = json_] {
        operator_lines lines;
        try {
            lines = make();
        } catch (const std::runtime_error& why) {
            std::cerr << "gponflow: " << why.what() << '\n';
            throw CLI::RuntimeError(status_invalid);
        }
        const int status =
            *as_json ? send_lines_json(lines, *dry_run) : send_lines(lines, *dry_run);
        if (status != status_ok)
            throw CLI::RuntimeError(status);
    });
    return sub;
}

void operator_group::add_dry_run(CLI::App& to) const
{
    to.add_flag("--dry-run", *dry_run_, "Print the lines for the proc entry without writing them");
    to.add_flag("--json", *json_, "Print JSON");
}

} // namespace gponflow
