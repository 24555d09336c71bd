// SPDX-License-Identifier: GPL-2.0-only
// gponflow graph: draw the managed entities of a scenario.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "platform/api/platform_hook.h"
#include "tool/commands/arguments.h"
#include "tool/commands/commands.h"
#include "tool/commands/line_input.h"
#include "tool/commands/query_options.h"
#include "tool/explain/explain_frame.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/tagging_entry.h"
#include "tool/model/graph.h"
#include "tool/model/graph_json.h"
#include "tool/report/render_dot.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"
#include "tool/text/or_status.h"
#include "tool/text/terminal.h"

namespace gponflow {

namespace {

struct graph_request {
    std::string scenario;
    std::string onu; ///< address of one of several ONUs of a capture, or empty
    std::string output;
    bool json = false;
    std::string highlight; ///< hook options, comma-separated
    frame_choice frame;    ///< a capture and the number in it, or nothing
    query_options asked;
};

frame_choice choice_of(const graph_request& request)
{
    frame_choice choice = request.frame;
    std::istringstream words(request.highlight);
    for (std::string word; std::getline(words, word, ',');)
        choice.words.push_back(word);
    return choice;
}

// The instances that passed the frame, from its entry. If none did: those on the deepest branches.
std::vector<me_id> walked_path(const walk_record& walk)
{
    std::vector<me_id> path;
    for (const walk_step& step : walk.steps)
        if (step.passed)
            path.push_back(step.at);
    if (!path.empty())
        return path;
    for (const size_t last : deepest_dead_ends(walk))
        for (const size_t at : branch_to(walk, last))
            path.push_back(walk.steps[at].at);
    return path;
}

// The operations that the frame passed, with the instances that they belong to.
std::vector<me_id> tagging_path(const explanation& explained)
{
    std::vector<me_id> path;
    const auto add = [&path](const carried_frame& carried) {
        for (const tag_step& step : carried.steps)
            path.insert(path.end(), {step.operation, step.at});
    };
    add(explained.tagging);
    for (const leaving_frame& one : leaving_frames(explained))
        add(one.carried);
    return path;
}

std::vector<me_id> highlighted(const explanation& explained)
{
    std::vector<me_id> walked = walked_path(explained.walk);
    if (const std::string field = missing_field(explained); !field.empty())
        std::cerr << "gponflow: the frame is not classified: " << field << '\n';
    else if (explained.tagging.discarded || is_discarded(leaving_frames(explained)))
        std::cerr << "gponflow: a tagging operation discards the frame: its path is highlighted up "
                     "to the drop\n";
    else if (walked.empty())
        std::cerr << "gponflow: the frame reached no managed entity: no path is highlighted\n";
    else if (explained.returned && explained.returned->api_result != 0)
        std::cerr << "gponflow: the frame is dropped: its path is highlighted up to the drop\n";
    return walked;
}

// The path through both hook calls of a query.
or_status<std::vector<me_id>> walked_by(const graph_request& request, const scenario& input,
                                        backend& target)
{
    frame_query query = request.asked.query;
    query.capture = request.frame.capture;
    query.number = request.frame.number;
    explain_session session(target);
    const exit_status status = session.run(without_last_unload(input), std::cerr);
    if (status != status_ok)
        return status;
    std::vector<me_id> walked;
    // Behind both halves: neighbours of the list may have a pointer, which is bold, too.
    std::vector<me_id> tagging;
    for (const explanation& half : trace_frame(query, session).halves) {
        if (half.input.options.kind == GPON_API_DOWN_UNI)
            continue;
        std::ranges::copy(highlighted(half), std::back_inserter(walked));
        std::ranges::copy(tagging_path(half), std::back_inserter(tagging));
    }
    std::ranges::copy(tagging, std::back_inserter(walked));
    return walked;
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
    const std::optional<opened_line> opened = open_line(request.scenario, request.onu, std::cerr);
    if (!opened)
        return status_invalid;
    const scenario& parsed = opened->input;
    try {
        std::vector<me_id> walked;
        const std::unique_ptr<backend> target = make_host_backend();
        if (request.asked.asks) {
            const auto found = walked_by(request, parsed, *target);
            if (!found)
                return found.status();
            walked = *found;
        } else if (!request.highlight.empty()) {
            const auto explained =
                explain_frame(parsed, *target, choose_frame(choice_of(request)), std::cerr);
            if (!explained)
                return explained.status();
            walked = highlighted(*explained);
            std::ranges::copy(tagging_path(*explained), std::back_inserter(walked));
        }
        const line_model entities = final_entities(parsed);
        if (request.json) {
            print_graph_json(entities, walked, parsed.name, std::cout);
        } else {
            std::ostringstream dot;
            write_dot(entities, walked, dot);
            write_graph(dot.str(), request.output);
        }
    } catch (const std::runtime_error& why) {
        std::cerr << "gponflow: " << why.what() << '\n';
        return status_invalid;
    }
    if (!finish_output())
        return status_unsupported;
    return opened->complete ? status_ok : status_failed;
}

} // namespace

void add_graph_command(CLI::App& app)
{
    const auto request = std::make_shared<graph_request>();
    CLI::App* sub = app.add_subcommand("graph", "Draw the managed entities of a scenario");
    sub->add_option("FILE", request->scenario,
                    "Scenario or capture of OMCI messages, - for standard input")
        ->required();
    add_onu_option(*sub, request->onu);
    sub->add_option("-o,--output", request->output,
                    "Output file (.dot, .svg or .png); default: DOT on standard output")
        ->type_name("FILE");
    sub->add_flag("--json", request->json, "Print JSON instead of a drawing")->excludes("-o");
    CLI::Option* highlight =
        sub->add_option("--highlight", request->highlight,
                        "Draw the path of one hook call bold; its options: kind=K,frame=HEX,...")
            ->type_name("OPTIONS");
    CLI::Option* capture =
        sub->add_option("--pcap", request->frame.capture, "Take the frame from a capture file")
            ->type_name("FILE");
    add_number(
        *sub, "--frame", [request](uint64_t number) { request->frame.number = number; }, UINT32_MAX,
        1, "Number of the frame in the capture, from 1 (default 1)")
        ->needs(capture);
    add_query_options(*sub, request->asked);
    sub->footer("\nExamples:\n"
                "  gponflow graph scenarios/subscriber-line.scn -o line.svg\n"
                "  gponflow graph scenarios/subscriber-line.scn -o line.png \\\n"
                "    --uni 1 --vlan 100 --prio 5\n"
                "  gponflow graph line.scn -o line.svg --uni 2 --pcap lost.pcap --frame 1\n\n"
                "With --uni or --gem, the path of a frame through both hook calls is bold. With "
                "--highlight, it is the path of one hook call. Kinds: up_uni and up_ani "
                "(upstream), down_ani and down_uni (downstream).\n\n"
                "Red: a pointer to an instance that does not exist. Dashed: a pointer that the "
                "module did not record. Dotted: a tagging operation and the instance that it "
                "belongs to; bold if it acts on the frame. The path of a dropped frame is bold up "
                "to the drop. Pictures need "
                "the command dot of graphviz.");
    sub->callback([request, highlight] {
        complete(request->asked);
        const bool captured = !request->frame.capture.empty();
        if (request->asked.asks && *highlight)
            throw CLI::ExcludesError("--highlight", "--uni, --gem and the fields of a frame");
        if (captured && !request->asked.asks && !*highlight)
            throw CLI::RequiresError("--pcap", "--uni, --gem or --highlight");
        if (const int status = graph(*request); status != status_ok)
            throw CLI::RuntimeError(status);
    });
}

} // namespace gponflow
