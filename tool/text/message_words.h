// SPDX-License-Identifier: GPL-2.0-only
// Words of the user in messages of the tool.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace gponflow {

/// " (did you mean 'X'?)" for the known word nearest to a mistyped one or completing
/// a shortened one, empty when there is none.
[[nodiscard]] std::string suggestion(std::string_view mistyped,
                                     const std::vector<std::string_view>& known);

/// The same; if no known word is near, " (one of X, Y)" unless there are too many to read.
[[nodiscard]] std::string suggestion_or_list(std::string_view mistyped,
                                             const std::vector<std::string_view>& known);

/// The text in single quotes, control and non-ASCII bytes escaped, long text cut: for messages.
[[nodiscard]] std::string in_quotes(std::string_view text);

} // namespace gponflow
