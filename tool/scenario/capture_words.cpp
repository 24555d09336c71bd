// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/capture_words.h"

#include <optional>
#include <ostream>
#include <stdexcept>
#include <utility>

#include "tool/capture/capture_file.h"
#include "tool/scenario/captures.h"
#include "tool/scenario/parse.h"
#include "tool/text/pattern.h"

namespace gponflow {

namespace {

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

// A file name may contain commas: the options start at the first comma followed by NAME=.
std::string options_of(const std::string& word)
{
    static const pattern first_option(",[a-z_]+=");
    const std::optional<pattern_match> found = first_option.search(word);
    return found ? word.substr(found->position) : "";
}

std::string command_text(const std::string& word, std::string options)
{
    const std::string file = word.substr(0, word.size() - options.size());
    if (options.find(",kind=") == options.npos)
        options += ",kind=up_ani";
    for (char& c : options)
        c = c == ',' ? ' ' : c;
    return "pcap " + quoted(file) + options;
}

} // namespace

void append_captures(const std::vector<std::string>& words, scenario& into,
                     std::ostream& diagnostics)
{
    for (const std::string& word : words) {
        if (word.empty())
            throw std::runtime_error("--pcap needs a value (FILE)");
        const std::string options = options_of(word);
        parse_result parsed = parse_scenario(command_text(word, options), "-");
        if (!parsed.errors.empty())
            throw std::runtime_error("--pcap " + word + ": " + parsed.errors.front().message);
        scenario_line& line = parsed.input.lines.front();
        auto& command = std::get<pcap_command>(line.command);
        command.whole_path = options.empty();
        try {
            for (const std::string& text : fill_capture(command, command.file, into))
                diagnostics << capture_title(command.file) << ": warning: " << text << '\n';
        } catch (const std::runtime_error& why) {
            throw std::runtime_error(capture_title(command.file) + ": " + why.what());
        }
        into.lines.push_back(std::move(line));
    }
}

} // namespace gponflow
