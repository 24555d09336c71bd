// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "tool/scenario/command.h"

namespace gponflow {

/// Reads a scenario file ("-" is standard input) and every capture that it names. Nothing when
/// there is a fault in any of them; then each is told, one to a line.
std::optional<scenario> open_scenario(const std::string& file, std::ostream& diagnostics);

} // namespace gponflow
