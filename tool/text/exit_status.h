// SPDX-License-Identifier: GPL-2.0-only
#pragma once

namespace gponflow {

/// Exit status of every subcommand.
enum exit_status {
    status_ok = 0,
    status_failed = 1,     ///< an expect failed, a check found a problem, a capture ends early
    status_invalid = 2,    ///< invalid input, or a file that could not be read or written
    status_unsupported = 3 ///< the module or backend refused, or standard output failed
};

} // namespace gponflow
