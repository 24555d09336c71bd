// SPDX-License-Identifier: GPL-2.0-only
// From a capture file to a scenario file.
#pragma once

#include <iosfwd>
#include <string>

namespace gponflow::omci {

struct conversion_files {
    std::string capture_path;
    std::string scenario_path = "-"; ///< "-" is standard output
    std::string onu;                 ///< address of one of several ONUs; empty: the only one
};

/// Converts; `out` stands for standard output and `err` takes one line a remark, each naming the
/// file and the frame. Status 0: converted (refused and damaged messages are remarks); 1: the
/// capture ends early, what it holds was converted; 2: nothing was written.
[[nodiscard]] int convert_file(const conversion_files& options, std::ostream& out,
                               std::ostream& err);

} // namespace gponflow::omci
