/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The debug command language: a tree of command tables, matched by prefix. All output goes to the
 * kernel log; every handler returns 0. Control path.
 */
#ifndef GPON_DEBUG_INTERPRETER_H
#define GPON_DEBUG_INTERPRETER_H

#include "../platform/api/kernel_api.h"

/* One row of a command table; a row without name ends the table. */
struct gpon_dbg_cmd {
    const char* name;
    u32 (*handler)(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
    u32 arg_num; /* documentation only, not checked */
    const char* help;
};

extern "C" {

extern const gpon_dbg_cmd gpon_dbg_cmd_table[], gpon_dbg_set_table[], gpon_dbg_show_table[],
    gpon_dbg_clean_table[], gpon_dbg_trace_table[];

/* Interprets one command; returns the handler's status, 0. argc is the number of words, or -1 for a
 * line without words; argv has a null after the last word. Control path. */
u32 gpon_dbg_parsing_cmd(u32 argc, const char* const* argv) GPON_CHANGES_LISTS;

/* Calls the handler of the first row whose name begins with the first word, with the following
 * words and handler_table; without a word or a match it prints the usage of the table. */
u32 gpon_dbg_dispatch(const gpon_dbg_cmd* table, u32 argc, const char* const* argv,
                      const gpon_dbg_cmd* handler_table);

/* Prints the commands of a table; the handler of every "help". */
u32 gpon_dbg_usage(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
}

#endif
