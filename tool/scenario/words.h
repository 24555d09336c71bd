// SPDX-License-Identifier: GPL-2.0-only
// A line of a scenario as words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace gponflow {

struct word {
    std::string text;  ///< without quotes and escapes
    size_t column = 0; ///< of its first character in the line, from 1
};

/// The line without the blanks, tabs and carriage return at its ends.
[[nodiscard]] std::string_view trimmed(std::string_view line);

/// Splits at blanks and tabs; a word in double quotes keeps its blanks, with \" and \\ inside.
/// Throws syntax_error for an unterminated quote or a quote inside a word.
[[nodiscard]] std::vector<word> split_words(std::string_view line);

} // namespace gponflow
