/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Handlers of the debug commands that set and show the switches. argc is the number of words after
 * the command; a word that is missing or is no number leaves the default. Control path;
 * called through a pointer, which carries no lock contract.
 */
#ifndef GPON_DEBUG_SET_COMMANDS_H
#define GPON_DEBUG_SET_COMMANDS_H

#include "../base/types.h"

struct gpon_dbg_cmd;

extern "C" {

u32 gpon_dbg_set_enable(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_debug_level(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_dst_mac(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_src_mac(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_outer_vlan(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_set_inner_vlan(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_disable_trace(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
u32 gpon_dbg_show_enable(u32 argc, const char* const* argv, const gpon_dbg_cmd* table);
}

#endif
