// SPDX-License-Identifier: GPL-2.0-only
// gponflow explain: one frame of a scenario from the command line to the account of its way.
#include <iostream>
#include <memory>

#include "tools/gponflow/commands.h"
#include "tools/gponflow/explain.h"
#include "tools/gponflow/scenario/open.h"

namespace gponflow {

namespace {

int explain(const std::string& file, const frame_choice& choice)
{
    const std::optional<scenario> parsed = open_scenario(file, std::cerr);
    if (!parsed)
        return not_understood;
    std::optional<explained_frame> frame;
    try {
        frame = choose_frame(choice);
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return not_understood;
    }
    exit_status status = all_held;
    const std::unique_ptr<backend> where = make_host_backend();
    if (const auto told = explain_frame(*parsed, *where, frame, std::cerr, status))
        print_explanation(*told, std::cout);
    return status;
}

} // namespace

void add_explain_command(CLI::App& app)
{
    const auto file = std::make_shared<std::string>();
    const auto choice = std::make_shared<frame_choice>();
    CLI::App* sub = app.add_subcommand("explain", "Tell the way of one frame, step by step");
    sub->add_option("FILE", *file, "The scenario; - is standard input")->required();
    sub->add_option("OPTION", choice->words,
                    "The frame as a hook command has it: kind=K port=P gem=G frame=HEX ...");
    sub->add_option("--pcap", choice->capture, "Take the frame from a capture file");
    sub->add_option("--frame", choice->number, "Its number in the capture, from 1")
        ->needs("--pcap")
        ->capture_default_str();
    sub->footer(
        "\nExamples:\n"
        "  gponflow explain scenarios/subscriber-line.scn kind=up_ani \\\n"
        "    frame=0200000000010200000001028100006508004500\n"
        "  gponflow explain scenarios/subscriber-line.scn kind=up_uni port=1 \\\n"
        "    --pcap captures/upstream-uni1.pcap --frame 3\n"
        "  gponflow explain line.scn\n\n"
        "The scenario runs first, then the frame. Without a frame, the last hook command of the "
        "scenario that has one is explained.");
    sub->callback([file, choice] {
        if (const int status = explain(*file, *choice); status != all_held)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
