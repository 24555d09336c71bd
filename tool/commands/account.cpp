// SPDX-License-Identifier: GPL-2.0-only
// gponflow account: count the frames of a scenario by destination.
#include <iostream>
#include <memory>

#include "tool/commands/commands.h"
#include "tool/explain/account.h"
#include "tool/live/backends.h"
#include "tool/scenario/open.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

int account(const std::string& file, const std::string& backend_name)
{
    const std::optional<scenario> parsed = open_scenario(file, std::cerr);
    if (!parsed)
        return status_invalid;
    try {
        const std::unique_ptr<backend> target = make_backend(backend_name);
        frame_account counted;
        const exit_status status = account_scenario(*parsed, *target, counted, std::cerr);
        print_account(counted, std::cout);
        return finish_output() ? status : status_unsupported;
    } catch (const refusal& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_unsupported;
    }
}

} // namespace

void add_account_command(CLI::App& app)
{
    const auto file = std::make_shared<std::string>();
    const auto backend_name = std::make_shared<std::string>("host");
    CLI::App* sub = app.add_subcommand(
        "account", "Run a scenario and count its frames by direction and destination");
    sub->add_option("FILE", *file, "Scenario file, - for standard input")->required();
    sub->add_option("--backend", *backend_name,
                    "host: the module in this process; device: the module in the running kernel")
        ->check(CLI::IsMember(backend_names()))
        ->capture_default_str();
    sub->footer("\nExample:\n  gponflow account scenarios/demo.scn\n\n"
                "A dropped frame is counted under the last message that an instance logged about "
                "it.");
    sub->callback([file, backend_name] {
        if (const int status = account(*file, *backend_name); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
