/* SPDX-License-Identifier: GPL-2.0-only */
/* Settings that an operator writes and every packet reads, without a lock. */
#ifndef GPON_SWITCHES_H
#define GPON_SWITCHES_H

#include "types.h"

extern "C" {

/* 0: packets pass unchanged or go to the platform's mapping function; otherwise classified. */
extern u32 gponFlowEnableFlag;

/* Log levels, see log_level; 0 after load. */
extern u32 gponDebugLevel;

/* Selects the packets that are marked for trace. Read and written as nine 16-bit words. */
struct alignas(u16) gpon_trace_cfg {
    u8 dst_mac[6];
    u8 src_mac[6];
    u16 outer_vlan; /* whole TCI, host order */
    u16 inner_vlan;
    u16 valid_mask; /* TRACE_* bits; 0 = filter off */
};
static_assert(sizeof(gpon_trace_cfg) == 18);

extern gpon_trace_cfg trace_cfg;
}

enum trace_mask : u16 {
    TRACE_DST_MAC = 0x1,
    TRACE_SRC_MAC = 0x2,
    TRACE_OUTER_VLAN = 0x4,
    TRACE_INNER_VLAN = 0x8
};

#endif
