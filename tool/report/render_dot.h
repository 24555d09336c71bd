// SPDX-License-Identifier: GPL-2.0-only
// Pictures, drawn by the layout command of graphviz.
#pragma once

#include <string>

namespace gponflow {

/// Turns DOT text into a picture file with the command dot of graphviz; the format is "svg" or
/// "png". Throws std::runtime_error when the command is missing or fails.
void render_dot(const std::string& dot, const std::string& format, const std::string& file);

} // namespace gponflow
