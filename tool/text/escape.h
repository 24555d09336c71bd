// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <string_view>

namespace gponflow {

/// Control characters as C escapes (\r, \t, ...), those without a letter and bytes outside ASCII
/// as \xNN. A backslash is not escaped: the text is for people and is not parsed again.
[[nodiscard]] std::string escape(std::string_view text);

} // namespace gponflow
