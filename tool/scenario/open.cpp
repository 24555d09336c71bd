// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/open.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>

#include "tool/capture/capture_file.h"
#include "tool/scenario/captures.h"
#include "tool/scenario/parse.h"
#include "tool/scenario/words.h"
#include "tool/text/lines.h"
#include "tool/text/source_text.h"

namespace gponflow {

namespace {

// A file of another kind has an error in every line.
constexpr size_t most_printed = 20;
// Enough to recognise a file of another kind.
constexpr size_t looked_at = 512;

void print(const std::vector<diagnostic>& errors, const char* noun, std::ostream& to)
{
    for (size_t i = 0; i < std::min(errors.size(), most_printed); ++i)
        to << errors[i].text() << '\n';
    if (errors.size() > most_printed)
        to << errors[0].file << ": " << errors.size() - most_printed << " more " << noun << '\n';
}

// Control characters other than those of lines and blanks.
bool is_binary(char c)
{
    return static_cast<unsigned char>(c) < ' ' && (c < '\t' || c > '\r');
}

// Whether the text can be the start of a scenario: a line of it has a command or a comment, or none
// has a whole word.
bool may_be_scenario(std::string_view text)
{
    constexpr size_t longest_command = 16;
    const std::vector<std::string_view> commands = command_names();
    bool found = false, other = false;
    for_each_line(text, [&](std::string_view line) {
        const bool cut = line.end() == text.end();
        line = trimmed(line);
        const std::string_view name = line.substr(0, line.find_first_of(" \t"));
        if (line.starts_with('#') || std::ranges::find(commands, name) != commands.end())
            found = true;
        else if (!line.empty() && (!cut || name != line || name.size() > longest_command))
            other = true;
    });
    return found || !other;
}

// A file of another kind is refused as a whole: each of its lines would be an error.
std::string why_no_scenario(std::string_view text)
{
    if (is_capture_start(text))
        return "is a capture, not a scenario: convert OMCI messages with gponflow omci FILE -o "
               "line.scn, name traffic with --pcap";
    const std::string_view start = text.substr(0, looked_at);
    if (std::ranges::any_of(start, is_binary))
        return "is no scenario: it is no text";
    if (start.size() == looked_at && !may_be_scenario(start))
        return "is no scenario: it begins with no command and no comment";
    return {};
}

} // namespace

std::optional<scenario> open_scenario(const std::string& file, std::ostream& diagnostics)
{
    std::string text;
    try {
        // A large file of another kind is not read as a whole.
        text = first_bytes(file, looked_at);
        if (why_no_scenario(text).empty())
            text = read_source_text(file);
    } catch (const std::runtime_error& error) {
        diagnostics << file << ": " << error.what() << '\n';
        return {};
    }
    return open_scenario_text(file, text, diagnostics);
}

std::optional<scenario> open_scenario_text(const std::string& file, const std::string& text,
                                           std::ostream& diagnostics)
{
    if (const std::string why = why_no_scenario(text); !why.empty()) {
        diagnostics << file << ": " << why << '\n';
        return {};
    }
    parse_result parsed = parse_scenario(text, file);
    capture_diagnostics captures = read_captures(parsed.input);
    std::ranges::move(captures.errors, std::back_inserter(parsed.errors));
    std::ranges::stable_sort(parsed.errors, {}, &diagnostic::line);
    print(captures.warnings, "warnings", diagnostics);
    print(parsed.errors, "errors", diagnostics);
    if (!parsed.errors.empty())
        return {};
    return std::move(parsed.input);
}

} // namespace gponflow
