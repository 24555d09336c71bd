/* SPDX-License-Identifier: GPL-2.0-only */
/* The control record that an OMCI stack passes to the character device. Control path: process
 * context, one caller at a time under gpon_flow_control_mutex. */
#ifndef GPON_CORE_CONTROL_RECORD_H
#define GPON_CORE_CONTROL_RECORD_H

#include "../platform/api/kernel_api.h"

extern "C" {

/* Applies the control record at a user address; returns 0 or -1. An ME command first deletes every
 * rule, even if the command then fails: any change can redirect a flow. */
[[nodiscard]] i32 gpon_flow_dispatch_omci_cmd(const void* user_record) GPON_CHANGES_LISTS;
}

#endif
