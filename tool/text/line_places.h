// SPDX-License-Identifier: GPL-2.0-only
// Where the lines of a scenario come from, for messages.
#pragma once

#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace gponflow {

/// The line of a scenario that gave an attribute, or a row of a table, its value.
struct attribute_source {
    std::string attribute; ///< "pbit_GemIWTP[3]", "row"
    unsigned line = 0;     ///< 0: no line did, the value is that of a new instance

    bool operator==(const attribute_source&) const = default;
};

struct line_places {
    std::string file;                       ///< the scenario or the capture
    std::map<unsigned, std::string> frames; ///< of a converted capture: the frames of each line

    /// "FILE:LINE"; for a converted line "FILE, frame 41, response 42".
    [[nodiscard]] std::string text(unsigned line) const
    {
        const auto known = frames.find(line);
        return known == frames.end() ? file + ":" + std::to_string(line)
                                     : file + ", " + known->second;
    }

    /// The same without the file: "line 12", "frame 41, response 42".
    [[nodiscard]] std::string short_text(unsigned line) const
    {
        const auto known = frames.find(line);
        return known == frames.end() ? "line " + std::to_string(line) : known->second;
    }

    /// The number of the first frame; nothing if the line is not that of a capture.
    [[nodiscard]] std::optional<size_t> frame(unsigned line) const
    {
        const auto known = frames.find(line);
        if (known == frames.end())
            return {};
        const std::string& words = known->second;
        const size_t at = words.find_first_of("0123456789");
        size_t number = 0;
        if (at == words.npos ||
            std::from_chars(words.data() + at, words.data() + words.size(), number).ec !=
                std::errc())
            return {};
        return number;
    }
};

/// "line 12; dscp_map in line 14": where the parts of a decision were set, the first one without
/// its name, and not those of the same line. Empty if no line set a part.
[[nodiscard]] inline std::string sources_text(const std::vector<attribute_source>& sources,
                                              const line_places& places)
{
    std::string text;
    for (const attribute_source& one : sources)
        if (one.line != 0 && (text.empty() || one.line != sources.front().line))
            text += text.empty() ? places.short_text(one.line)
                                 : "; " + one.attribute + " in " + places.short_text(one.line);
    return text;
}

/// " (set in line 12)"; empty if no line set a part.
[[nodiscard]] inline std::string in_parentheses(const std::vector<attribute_source>& sources,
                                                const line_places& places)
{
    const std::string text = sources_text(sources, places);
    return text.empty() ? text : " (set in " + text + ")";
}

} // namespace gponflow
