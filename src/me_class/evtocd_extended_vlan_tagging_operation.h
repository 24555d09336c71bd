/* SPDX-License-Identifier: GPL-2.0-only */
/* Extended VLAN tagging operation configuration data (class 171, G.988 9.3.13).
 * Packet path, inside an RCU read section. */
#ifndef GPON_ME_CLASS_EVTOCD_H
#define GPON_ME_CLASS_EVTOCD_H

#include "../include/me_class.h"

extern "C" {

/* The operation on a frame: it does not change the frame and returns 0. Forward functions treat any
 * other value as a failure. */
[[nodiscard]] i32 evtocd_operation(const sk_buff* skb, const op_info* op);
}

#endif
