// SPDX-License-Identifier: GPL-2.0-only
// gponflow omci: convert a captured OMCI bring-up to a scenario.
#include <iostream>
#include <memory>

#include "tool/commands/commands.h"
#include "tool/omci/convert_file.h"

namespace gponflow {

void add_omci_command(CLI::App& app)
{
    CLI::App* sub = app.add_subcommand("omci", "Convert a captured OMCI bring-up to a scenario");
    const auto options = std::make_shared<omci::conversion_files>();
    sub->add_option("FILE", options->capture_path,
                    "pcap or pcapng file with OMCI messages (EtherType 0x88b5, or bare messages "
                    "on a user link type), - for standard input")
        ->required();
    sub->add_option("-o,--output", options->scenario_path, "Output file, - for standard output")
        ->capture_default_str();
    sub->add_option("--onu", options->onu,
                    "Address of the ONU, if the capture has messages of several");
    sub->footer("\nExample:\n"
                "  gponflow omci bringup.pcap -o line.scn && gponflow run line.scn\n\n"
                "Requests that the ONU refused, damaged messages and classes that the module does "
                "not mirror become comments.");
    sub->callback([options] {
        const int status = omci::convert_file(*options, std::cout, std::cerr);
        if (status != 0)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
