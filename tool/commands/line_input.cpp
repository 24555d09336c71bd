// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/line_input.h"

#include <filesystem>
#include <map>
#include <ostream>
#include <span>
#include <stdexcept>
#include <utility>

#include "tool/capture/capture_file.h"
#include "tool/omci/convert_file.h"
#include "tool/omci/summary_output.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/open.h"
#include "tool/scenario/parse.h"
#include "tool/text/exit_status.h"
#include "tool/text/lines.h"
#include "tool/text/source_text.h"

namespace gponflow {

namespace {

// A comment that begins with "# frame 41, response 42:" or "# frames 3 to 90:" names the frames of
// the commands below it, up to the next one or an empty line.
std::map<unsigned, std::string> frames_of_lines(std::string_view text)
{
    constexpr std::string_view mark = "# ";
    std::map<unsigned, std::string> frames;
    unsigned number = 0;
    std::string_view above;
    for_each_line(text, [&](std::string_view line) {
        ++number;
        if (line.starts_with("# frame ") || line.starts_with("# frames "))
            above = line.substr(mark.size(), line.find(':') - mark.size());
        else if (line.empty())
            above = {};
        else if (!line.starts_with('#') && !above.empty())
            frames.emplace(number, above);
    });
    return frames;
}

// A file, or what was read from standard input or a pipe to see its kind.
struct line_source {
    std::string name;
    std::optional<std::string> text;
    bool capture = false;
};

line_source source_of(const std::string& file)
{
    std::error_code unknown;
    if (file != "-" && std::filesystem::is_regular_file(file, unknown))
        return {file, {}, is_capture_start(first_bytes(file, 4))};
    std::string text = read_source_text(file);
    const bool capture = is_capture_start(text);
    return {file, std::move(text), capture};
}

std::span<const uint8_t> bytes_of(const std::string& text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

opened_line open_capture(const line_source& from, const std::string& onu, std::ostream& diagnostics)
{
    const omci::loaded_capture loaded =
        from.text ? omci::load_capture(from.name, bytes_of(*from.text), onu)
                  : omci::load_capture(from.name, onu);
    omci::print_warnings(loaded, diagnostics);
    scenario input = parse_scenario(loaded.result.scenario, from.name).input;
    input.frames_of_lines = frames_of_lines(loaded.result.scenario);
    const bool complete = omci::status_of(loaded) == status_ok;
    input.incomplete = !complete;
    return {std::move(input), omci::origin_json(loaded.cap, loaded.result), complete};
}

std::optional<opened_line> open_text(const line_source& from, std::ostream& diagnostics)
{
    std::optional<scenario> parsed = from.text
                                         ? open_scenario_text(from.name, *from.text, diagnostics)
                                         : open_scenario(from.name, diagnostics);
    if (!parsed)
        return {};
    // A capture that was never written is an empty file too.
    if (parsed->lines.empty())
        diagnostics << from.name << ": warning: no command: the line is empty\n";
    const bool complete = !parsed->lines.empty();
    return opened_line{std::move(*parsed), nullptr, complete};
}

} // namespace

std::optional<opened_line> open_line(const std::string& file, const std::string& onu,
                                     std::ostream& diagnostics)
{
    std::optional<line_source> from;
    try {
        from = source_of(file);
    } catch (const std::runtime_error& why) {
        diagnostics << file << ": " << why.what() << '\n';
        return {};
    }
    try {
        return from->capture ? open_capture(*from, onu, diagnostics)
                             : open_text(*from, diagnostics);
    } catch (const std::runtime_error& why) {
        diagnostics << why.what() << '\n';
        const std::string_view text = why.what();
        if (text.find("no OMCI message") != text.npos && text.find(" in 0 frames") == text.npos)
            diagnostics
                << file
                << ": a capture of traffic is no line: name it with --pcap (explain, account, "
                   "graph, report)\n";
        return {};
    }
}

std::optional<read_model> read_line(const std::string& file, const std::string& onu,
                                    std::ostream& diagnostics)
{
    const std::optional<opened_line> opened = open_line(file, onu, diagnostics);
    if (!opened)
        return {};
    return read_model{final_entities(opened->input), places_of(opened->input), opened->complete};
}

} // namespace gponflow
