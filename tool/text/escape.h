// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <string_view>

namespace gponflow {

/// Control characters as C escapes (\r, \t, ...), those without a letter and bytes outside ASCII
/// as \xNN. A backslash stays as it is: the text is for reading, not for reading back.
std::string escape(std::string_view text);

} // namespace gponflow
