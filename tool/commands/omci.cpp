// SPDX-License-Identifier: GPL-2.0-only
// gponflow omci: a captured OMCI bring-up to a scenario file.
#include <iostream>
#include <memory>

#include "tool/commands/commands.h"
#include "tool/omci/convert_file.h"

namespace gponflow {

void add_omci_command(CLI::App& app)
{
    CLI::App* sub = app.add_subcommand("omci", "Turn a captured OMCI bring-up into a scenario");
    const auto options = std::make_shared<omci::conversion_files>();
    sub->add_option("capture", options->capture_path,
                    "pcap or pcapng file with OMCI messages (EtherType 0x88b5, or bare messages "
                    "on a user link type); - reads standard input")
        ->required();
    sub->add_option("-o,--output", options->scenario_path,
                    "scenario file to write; - is standard output")
        ->capture_default_str();
    sub->add_option("--onu", options->onu,
                    "address of the ONU, when the capture holds the messages of several");
    sub->footer("Example: gponflow omci bringup.pcap -o line.scn && gponflow run line.scn\n"
                "Requests that the ONU refused, damaged messages and classes that the module does "
                "not mirror become comments.");
    sub->callback([options] {
        const int status = omci::convert_file(*options, std::cout, std::cerr);
        if (status != 0)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
