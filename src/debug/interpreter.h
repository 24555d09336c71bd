/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The debug command language: a tree of command tables, matched by prefix. Everything is printed
 * to the kernel log; every handler answers 0. Control path.
 */
#ifndef GPON_DEBUG_INTERPRETER_H
#define GPON_DEBUG_INTERPRETER_H

#include "../include/debug_entry.h"

/* One row of a command table; a row without name closes it. */
struct gpon_dbg_cmd {
    const char* name;
    u32 (*handler)(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
    u32 arg_num; /* for the reader; nothing checks it */
    const char* help;
};

extern "C" {

extern const gpon_dbg_cmd gpon_dbg_cmd_table[], gpon_dbg_set_table[], gpon_dbg_show_table[],
    gpon_dbg_clean_table[], gpon_dbg_trace_table[];

/* Calls the first row whose name begins with the first word, with the words behind it and the
 * table handed on; without a word or a match it prints the usage of the table. */
u32 gpon_dbg_dispatch(const gpon_dbg_cmd* table, u32 argc, const char* const* argv,
                      const gpon_dbg_cmd* handed_on);

/* Lists a table; the handler of every "help". */
u32 gpon_dbg_usage(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);

/* Handlers. argc is the number of words behind the command; a word that is missing or holds no
 * number leaves the default. */
u32 gpon_dbg_set_enable(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_debug_level(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_dst_mac(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_src_mac(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_outer_vlan(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_inner_vlan(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_disable_trace(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_show_enable(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_show_raw_data(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_show_flow_rule(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_clean_raw_data(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_clean_flow_rule(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);

/* show raw_data: every class, one class, or one instance. */
u32 gpon_dbg_dump_me_inst(u32 argc, const char* const* argv);
}

#endif
