// SPDX-License-Identifier: GPL-2.0-only
// Prints the changes of a module until the user stops it.
#pragma once

#include <iosfwd>

#include "tool/live/change_printer.h"
#include "tool/live/change_source.h"

namespace gponflow {

/// Prints changes as they come, also if they come as fast as they are printed. Ends when the
/// printer is complete, when `out`, to which it prints, takes no more, when the module is unloaded,
/// or at a stop signal after the changes that came before it. Prints that the module was unloaded,
/// and that changes are missing whose number is not known, to `notes`. Throws refusal.
void follow_changes(change_source& source, change_printer& printer, const std::ostream& out,
                    std::ostream& notes);

} // namespace gponflow
