// SPDX-License-Identifier: GPL-2.0-only
// Looks up $TERM in the terminal database.
#pragma once

namespace gponflow {

/// Whether the database has the terminal of standard output. Call it before newterm(), which leaks
/// memory for an unknown terminal.
[[nodiscard]] bool terminal_is_known();

} // namespace gponflow
