// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/open.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>

#include "tool/scenario/captures.h"
#include "tool/scenario/parse.h"
#include "tool/text/source_text.h"

namespace gponflow {

namespace {

// A file of another kind has an error in every line.
constexpr size_t most_printed = 20;

void print(const std::vector<diagnostic>& errors, const char* noun, std::ostream& to)
{
    for (size_t i = 0; i < std::min(errors.size(), most_printed); ++i)
        to << errors[i].text() << '\n';
    if (errors.size() > most_printed)
        to << errors[0].file << ": " << errors.size() - most_printed << " more " << noun << '\n';
}

} // namespace

std::optional<scenario> open_scenario(const std::string& file, std::ostream& diagnostics)
{
    std::string text;
    try {
        text = read_source_text(file);
    } catch (const std::runtime_error& error) {
        diagnostics << file << ": " << error.what() << '\n';
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
