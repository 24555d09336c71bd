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

/// Converts a capture. `out` is standard output; `err` receives one line per remark with file and
/// frame. Status 0: converted (refused and damaged messages are remarks); 1: the capture ends early
/// and was converted up to there; 2: nothing was written; 3: standard output could not be written.
[[nodiscard]] int convert_file(const conversion_files& options, std::ostream& out,
                               std::ostream& err);

} // namespace gponflow::omci
