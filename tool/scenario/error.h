// SPDX-License-Identifier: GPL-2.0-only
// What is wrong with a scenario file, and where.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace gponflow {

/// One fault of a file. Prints as FILE:LINE: what is wrong.
struct diagnostic {
    std::string file;
    unsigned line = 0;
    size_t column = 0; ///< in bytes from 1; 0 when the fault has no place within the line
    std::string what;

    std::string text() const;
};

/// Thrown while one line is read; parse_scenario turns it into a diagnostic.
struct syntax_error {
    size_t column;
    std::string what;
};

/// " (did you mean 'X'?)" for the known word nearest to a mistyped one, empty when none is near.
std::string suggestion(std::string_view mistyped, const std::vector<std::string_view>& known);

/// The text in single quotes, control and non-ASCII bytes escaped, long text cut: for messages.
std::string in_quotes(std::string_view text);

} // namespace gponflow
