// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/terminal_type.h"

#ifdef GPONFLOW_CURSES

// Macros of term.h have names of common variables: keep them in this file.
#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace gponflow {

bool terminal_is_known()
{
    int error = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &error) != OK)
        return false;
    del_curterm(cur_term);
    return true;
}

} // namespace gponflow

#endif
