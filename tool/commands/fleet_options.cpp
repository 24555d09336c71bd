// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/fleet_options.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "tool/commands/arguments.h"

namespace gponflow {

const char* const fleet_help =
    "With several inputs, --files, --jobs or --timeout, the command prints one JSON document a "
    "line for each input, in their order (schema gponflow-line-1). An input that cannot be used "
    "has a line with the reason. The exit status is the greatest of all inputs.";

const std::string& fleet_request::only() const
{
    if (names.empty())
        throw CLI::RequiredError("FILE");
    return names.front();
}

CLI::Option* add_fleet_options(CLI::App& app, fleet_request& into, const std::string& description)
{
    constexpr uint64_t most_jobs = 512;
    constexpr uint64_t most_seconds = 86400;
    CLI::Option* files = app.add_option("FILE", into.names, description);
    app.add_option("--files", into.list, "File with more names, one a line, - for standard input")
        ->type_name("FILE");
    add_onu_option(app, into.onu);
    add_number(
        app, "--jobs", [&into](uint64_t jobs) { into.jobs = static_cast<unsigned>(jobs); },
        most_jobs, 1, "Inputs to work on at a time; default: the number of processors");
    add_number(
        app, "--timeout",
        [&into](uint64_t seconds) { into.limit = static_cast<unsigned>(seconds); }, most_seconds, 1,
        "Seconds after which an input is given up");
    return files;
}

void refuse_with_lines(const CLI::App& app, const std::vector<std::string>& options)
{
    for (const std::string& name : options)
        if (app.count(name) != 0)
            throw CLI::ExcludesError(name + " is for one input and prints no lines of JSON",
                                     CLI::ExitCodes::ExcludesError);
}

int run_lines(const fleet_request& request, const std::string& command, const line_job& job)
{
    try {
        input_list inputs = input_list::open(request.names, request.list);
        const fleet_order order{
            command, request.jobs.value_or(std::max(1u, std::thread::hardware_concurrency())),
            std::chrono::seconds(request.limit)};
        return run_fleet(order, inputs, job, std::cout);
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
}

} // namespace gponflow
