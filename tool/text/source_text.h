// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>

namespace gponflow {

/// Called before standard input is read. Throws std::runtime_error the second time: one command
/// line names it for one input only.
void claim_standard_input();

/// The whole text of a file, "-" being standard input. Throws std::runtime_error with the reason.
std::string read_source_text(const std::string& file);

} // namespace gponflow
