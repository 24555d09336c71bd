// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/captures.h"

#include <optional>
#include <stdexcept>

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
std::string command_text(const std::string& word)
{
    static const pattern first_option(",[a-z_]+=");
    const std::optional<pattern_match> found = first_option.search(word);
    const size_t split = found ? found->position : word.size();
    const std::string file = word.substr(0, split);
    std::string options = word.substr(split);
    if (options.find(",kind=") == options.npos)
        options += ",kind=up_ani";
    for (char& c : options)
        c = c == ',' ? ' ' : c;
    return "pcap " + quoted(file) + options;
}

} // namespace

std::vector<scenario_line> capture_lines(const std::vector<std::string>& words)
{
    std::vector<scenario_line> lines;
    for (const std::string& word : words) {
        // Parsed as from standard input: relative names are relative to the working directory.
        parse_result parsed = parse_scenario(command_text(word), "-");
        std::vector<diagnostic> errors = std::move(parsed.errors);
        if (errors.empty())
            errors = read_captures(parsed.input);
        if (!errors.empty())
            throw std::runtime_error("--pcap " + word + ": " + errors.front().message);
        for (scenario_line& line : parsed.input.lines)
            lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace gponflow
