/* SPDX-License-Identifier: GPL-2.0-only */
/* The trace event of a command (platform/api/tracepoint.h). Each function returns at once while
 * nobody traces it. Control path. */
#ifndef GPON_CORE_COMMAND_EVENTS_H
#define GPON_CORE_COMMAND_EVENTS_H

#include "../debug/words.h"
#include "../include/me_class.h"
#include "../platform/api/kernel_api.h"

namespace gpon {

void trace_command(gpon_command_kind kind, long result);
void trace_me_command(const gpon_me_cmd& cmd, long result);

/* Counts and traces a command that the module refuses. Returns the result. */
[[nodiscard]] long refuse_command(long result);

/* The words of the command become its text. */
void trace_words(gpon_command_kind kind, const gpon_dbg_words& words, long result);

} // namespace gpon

#endif
