// SPDX-License-Identifier: GPL-2.0-only
// From a capture file to a scenario file.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>

#include "tool/omci/capture.h"
#include "tool/omci/convert.h"

namespace gponflow::omci {

struct conversion_files {
    std::string capture_path;
    std::string scenario_path = "-"; ///< "-" is standard output
    std::string onu;                 ///< address of one of several ONUs; empty: the only one
};

/// A capture with its conversion.
struct loaded_capture {
    std::string path;
    capture cap;
    conversion result;
};

/// Reads and converts a capture; `onu` is the address of one of several ONUs, or empty. Throws
/// std::runtime_error with the reason.
[[nodiscard]] loaded_capture load_capture(const std::string& path, const std::string& onu);

/// The same for a capture whose bytes were read before; `path` names it.
[[nodiscard]] loaded_capture load_capture(const std::string& path, std::span<const uint8_t> file,
                                          const std::string& onu);

/// Prints refused, damaged and unreadable messages, and where the capture ends early.
void print_warnings(const loaded_capture& loaded, std::ostream& err);

/// 0, or 1 if the capture ends early or has nothing to convert.
[[nodiscard]] int status_of(const loaded_capture& loaded);

/// Converts a capture. `out` is standard output; `err` receives one line per remark with file and
/// frame. Status 0: converted (refused and damaged messages are remarks); 1: the capture ends early
/// and was converted up to there, or it has nothing to convert; 2: nothing was written; 3: standard
/// output could not be written.
[[nodiscard]] int convert_file(const conversion_files& options, std::ostream& out,
                               std::ostream& err);

} // namespace gponflow::omci
