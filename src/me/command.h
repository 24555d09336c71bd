/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * OMCI commands applied to the mirror. All of it is control path: process context, one caller at a
 * time under gpon_flow_control_mutex.
 */
#ifndef GPON_ME_COMMAND_H
#define GPON_ME_COMMAND_H

#include "../base/switches.h"
#include "../include/me_class.h"

extern "C" {

/* Applies the control record at a user address; 0 or -1. An ME command flushes every learnt rule
 * first, whether or not it then succeeds: any change can redirect a flow. */
i32 gpon_flow_dispatch_omci_cmd(const void* user_record);

/* One ME command; attr_data is a user address. An unknown message type is answered with 0. */
i32 gpon_flow_me_handle(gpon_me_cmd* cmd);

/* A set is applied exactly like a create: it stores the record, then runs the attribute handlers
 * that the mask selects. */
i32 gpon_flow_me_general_set(const gpon_me_entry* entry, gpon_me_cmd* cmd);
i32 gpon_flow_me_general_create(const gpon_me_entry* entry, gpon_me_cmd* cmd);

/* Runs every attribute handler of the class with the stored record, then removes the instance;
 * attr_data is replaced, not read. */
i32 gpon_flow_me_general_delete(const gpon_me_entry* entry, gpon_me_cmd* cmd);

/* Files a link change under the instance pointed at, and creates that instance when its class is
 * created by the ONU itself. 0 or -1; a link to a missing instance of another class is dropped
 * and answered with 0. */
i32 gpon_flow_me_general_update(const gpon_me_related_update* update);

/* Loads the 40-byte default configuration from a user address; a failed load leaves it zeroed. */
i32 gpon_flow_load_cfg_data(const void* user_cfg);
}

#endif
