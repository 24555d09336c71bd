/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Handlers of the debug commands that show and clean instances and rules. argc is the number of
 * words after the command; a word that is missing or is no number leaves the default. Control path;
 * called through a pointer, which carries no lock contract: a handler that needs
 * gpon_flow_control_mutex asserts that its caller has it.
 */
#ifndef GPON_DEBUG_STORE_COMMANDS_H
#define GPON_DEBUG_STORE_COMMANDS_H

#include "../base/types.h"

struct gpon_dbg_cmd;

extern "C" {

u32 gpon_dbg_show_raw_data(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_show_flow_rule(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_clean_raw_data(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_clean_flow_rule(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);

/* show raw_data: every class, one class, or one instance. */
u32 gpon_dbg_dump_me_inst(u32 argc, const char* const* argv);
}

#endif
