// SPDX-License-Identifier: GPL-2.0-only
#include <exception>
#include <iostream>

#include "tools/gponflow/commands.h"
#include "tools/gponflow/omci/command.h"
#include "tools/gponflow/run.h"

namespace {

constexpr const char* example = R"(
Example:
  gponflow run --mask-lines scenarios/first.scn | diff scenarios/first.transcript -
  printf 'load\nproc read\n' | gponflow run -)";

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Drives the GPON flow engine from its outer doors, in this process or in a "
                 "kernel.",
                 "gponflow");
    app.set_version_flag("--version", "gponflow " GPONFLOW_VERSION);
    app.require_subcommand(1);
    app.footer(example);
    gponflow::add_run_command(app);
    gponflow::add_account_command(app);
    gponflow::add_check_command(app);
    gponflow::add_graph_command(app);
    gponflow::add_explain_command(app);
    gponflow::add_omci_command(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& outcome) {
        return outcome.get_exit_code();
    } catch (const CLI::ParseError& error) {
        // Help and version come this way too, with status 0.
        return app.exit(error) == 0 ? 0 : gponflow::not_understood;
    } catch (const std::exception& error) {
        std::cerr << "gponflow: " << error.what() << '\n';
        return gponflow::not_supported;
    }
    return gponflow::all_held;
}
