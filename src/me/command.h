/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Applies OMCI commands to the store. All functions are control path: process context, one caller
 * at a time under gpon_flow_control_mutex.
 */
#ifndef GPON_ME_COMMAND_H
#define GPON_ME_COMMAND_H

#include "../include/me_class.h"

extern "C" {

/* Applies one ME command; attr_data is a user address. Returns 0 for an unknown message type. */
[[nodiscard]] i32 gpon_flow_me_handle(gpon_me_cmd* cmd) GPON_CHANGES_LISTS;

/* A set is applied exactly like a create: it stores the record, then runs the attribute handlers
 * that the mask selects. */
[[nodiscard]] i32 gpon_flow_me_general_set(const gpon_me_entry* entry,
                                           gpon_me_cmd* cmd) GPON_CHANGES_LISTS;
[[nodiscard]] i32 gpon_flow_me_general_create(const gpon_me_entry* entry,
                                              gpon_me_cmd* cmd) GPON_CHANGES_LISTS;

/* Runs every attribute handler of the class with the stored record, then removes the instance;
 * attr_data is replaced, not read. */
i32 gpon_flow_me_general_delete(const gpon_me_entry* entry, gpon_me_cmd* cmd) GPON_CHANGES_LISTS;
}

#endif
