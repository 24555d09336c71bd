// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "tool/text/terminal.h"

namespace gponflow {

/// "1 rule", "2 rules".
[[nodiscard]] std::string counted(uint64_t count, const std::string& noun);

/// Columns of text, as wide as their widest cells. The last column is not padded.
struct text_table {
    std::vector<std::string> titles;
    std::vector<std::vector<std::string>> rows; ///< each has one cell per title

    /// The lines, the titles first.
    [[nodiscard]] std::vector<std::string> lines() const;
    /// Prints the lines with the indent.
    void print(std::ostream& out, const palette& colours, const std::string& indent = "") const;
};

} // namespace gponflow
