// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstddef>
#include <string>

namespace gponflow {

/// Thrown while one line is read; parse_scenario turns it into a diagnostic.
struct syntax_error {
    size_t column;
    std::string message;
};

} // namespace gponflow
