// SPDX-License-Identifier: GPL-2.0-only
// gponflow graph: a scenario from its file to the drawing of its managed entities.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "tools/gponflow/commands.h"
#include "tools/gponflow/explain.h"
#include "tools/gponflow/graph.h"
#include "tools/gponflow/scenario/open.h"

namespace gponflow {

namespace {

struct graph_request {
    std::string scenario;
    std::string output;
    std::string highlight; ///< hook options between commas
};

frame_choice choice_of(const std::string& highlight)
{
    frame_choice choice;
    std::istringstream words(highlight);
    for (std::string word; std::getline(words, word, ',');)
        choice.words.push_back(word);
    return choice;
}

// The instances that passed the frame, from where it entered.
std::vector<me_id> walked_path(const walk_story& story)
{
    std::vector<me_id> path;
    for (const walk_step& step : story.steps)
        if (step.passed)
            path.push_back(step.at);
    return path;
}

void write_graph(const std::string& dot, const std::string& output)
{
    const std::string extension = std::filesystem::path(output).extension().string();
    if (output.empty()) {
        std::cout << dot;
    } else if (extension == ".svg" || extension == ".png") {
        render_dot(dot, extension.substr(1), output);
    } else if (extension == ".dot") {
        std::ofstream file(output, std::ios::binary);
        if (!(file << dot << std::flush))
            throw std::runtime_error(output + ": cannot be written");
    } else {
        throw std::runtime_error(output + ": the name must end in .dot, .svg or .png");
    }
}

int graph(const graph_request& request)
{
    const std::optional<scenario> parsed = open_scenario(request.scenario, std::cerr);
    if (!parsed)
        return not_understood;
    try {
        std::vector<me_id> walked;
        if (!request.highlight.empty()) {
            exit_status status = all_held;
            const std::unique_ptr<backend> where = make_host_backend();
            const auto told = explain_frame(
                *parsed, *where, choose_frame(choice_of(request.highlight)), std::cerr, status);
            if (!told)
                return status;
            walked = walked_path(told->story);
            if (walked.empty())
                std::cerr << "gponflow: the frame passed nothing: no way is highlighted\n";
        }
        std::ostringstream dot;
        write_dot(mirror(*parsed), walked, dot);
        write_graph(dot.str(), request.output);
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return not_understood;
    }
    return all_held;
}

} // namespace

void add_graph_command(CLI::App& app)
{
    const auto request = std::make_shared<graph_request>();
    CLI::App* sub = app.add_subcommand("graph", "Draw the managed entities of a scenario");
    sub->add_option("FILE", request->scenario, "The scenario; - is standard input")->required();
    sub->add_option("-o,--output", request->output,
                    "A .dot, .svg or .png file; DOT on standard output without it");
    sub->add_option("--highlight", request->highlight,
                    "Hook options of a frame whose way is drawn bold: kind=K,frame=HEX,...");
    sub->footer("\nExamples:\n"
                "  gponflow graph scenarios/subscriber-line.scn -o line.svg\n"
                "  gponflow graph scenarios/subscriber-line.scn -o line.png \\\n"
                "    --highlight kind=up_ani,frame=0200000000010200000001018100006408004500\n\n"
                "Pointers to what does not exist are red, pointers that found no place or came "
                "too early are dashed. Pictures need the command dot of graphviz.");
    sub->callback([request] {
        if (const int status = graph(*request); status != all_held)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
