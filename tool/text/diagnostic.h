// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstddef>
#include <string>

namespace gponflow {

/// One fault of a file. Prints as FILE:LINE: MESSAGE.
struct diagnostic {
    std::string file;
    unsigned line = 0;
    size_t column = 0; ///< in bytes from 1; 0 when the fault has no place within the line
    std::string message;

    [[nodiscard]] std::string text() const;
};

} // namespace gponflow
