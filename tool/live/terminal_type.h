// SPDX-License-Identifier: GPL-2.0-only
// What the terminal database says of $TERM.
#pragma once

namespace gponflow {

/// Whether the database knows the terminal of standard output. To be asked before the library
/// opens it: for one that it does not know, that loses memory.
bool terminal_is_known();

} // namespace gponflow
