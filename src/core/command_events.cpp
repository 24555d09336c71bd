// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "command_events.h"

#include "../base/counters.h"
#include "../base/tracepoint.h"

namespace {

void send(gpon_command_kind kind, long result, const gpon_me_cmd& cmd, const char* text)
{
    gpon_trace_record record = {};
    record.point = GPON_TRACEPOINT_COMMAND;
    record.command = {kind, cmd.msg_type, cmd.class_id, cmd.inst_id, cmd.attr_mask, result, text};
    hit_tracepoint(&record);
}

// The words with a blank between them; each one ends within its array.
struct joined_words {
    char text[GPON_DBG_WORDS * GPON_DBG_WORD_BYTES] = {};

    explicit joined_words(const gpon_dbg_words& words)
    {
        char* at = text;
        for (u32 i = 0; i < GPON_DBG_WORDS && words.argv[i]; ++i) {
            if (i != 0)
                *at++ = ' ';
            for (const char* c = words.argv[i]; *c; ++c)
                *at++ = *c;
        }
    }
};

} // namespace

void gpon::trace_command(gpon_command_kind kind, long result)
{
    if (is_traced(GPON_TRACEPOINT_COMMAND))
        send(kind, result, {}, "");
}

long gpon::refuse_command(long result)
{
    count(GPON_COUNT_commands_refused);
    trace_command(GPON_COMMAND_REFUSED, result);
    return result;
}

void gpon::trace_me_command(const gpon_me_cmd& cmd, long result)
{
    if (is_traced(GPON_TRACEPOINT_COMMAND))
        send(GPON_COMMAND_ME, result, cmd, "");
}

void gpon::trace_words(gpon_command_kind kind, const gpon_dbg_words& words, long result)
{
    if (is_traced(GPON_TRACEPOINT_COMMAND))
        send(kind, result, {}, joined_words(words).text);
}
