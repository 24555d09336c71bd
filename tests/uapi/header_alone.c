/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The user-space header alone, as the first line of a source: with every C standard from C89 on and
 * as C++. Checks the layout that the module reads: if a compiler uses another one, an array has a
 * negative number of elements.
 */
#include "include/uapi/gpon_flow.h"

#include <stddef.h>

#define HAS_BYTES(record, bytes) \
    typedef char bytes_of_##record[sizeof(struct record) == (bytes) ? 1 : -1]
#define LIES_AT(record, field, byte) \
    typedef char place_of_##record##_##field[offsetof(struct record, field) == (byte) ? 1 : -1]

HAS_BYTES(gpon_flow_cmd, 64);
LIES_AT(gpon_flow_cmd, args, 8);
LIES_AT(gpon_flow_cmd, cfg_data, 40);
LIES_AT(gpon_flow_cmd, me, 48);
HAS_BYTES(gpon_me_cmd, 16);
LIES_AT(gpon_me_cmd, class_id, 2);
LIES_AT(gpon_me_cmd, attr_data, 8);
HAS_BYTES(gpon_flow_cfg_data, 40);
LIES_AT(gpon_flow_cfg_data, upstream_queue_num, 8);
LIES_AT(gpon_flow_cfg_data, related_port_boundary, 12);
LIES_AT(gpon_flow_cfg_data, default_weight, 18);
LIES_AT(gpon_flow_cfg_data, queues_per_uni, 20);
LIES_AT(gpon_flow_cfg_data, traffic_mgmt_option, 36);
HAS_BYTES(gpon_raw_pptp, 2);
HAS_BYTES(gpon_raw_mbsp, 8);
HAS_BYTES(gpon_raw_mbpcd, 8);
HAS_BYTES(gpon_raw_vtocd, 2);
HAS_BYTES(gpon_raw_vtfd, 28);
HAS_BYTES(gpon_raw_mapper, 48);
LIES_AT(gpon_raw_mapper, dscp2pbitMap, 21);
HAS_BYTES(gpon_raw_evtocd, 2);
HAS_BYTES(gpon_raw_tcont, 6);
HAS_BYTES(gpon_raw_gemiw, 4);
HAS_BYTES(gpon_raw_gemctp, 20);
LIES_AT(gpon_raw_gemctp, direction, 8);
HAS_BYTES(gpon_raw_pq, 12);
HAS_BYTES(gpon_raw_ts, 8);
HAS_BYTES(gpon_raw_td, 24);
HAS_BYTES(gpon_raw_multigemiw, 4);
HAS_BYTES(gpon_raw_veip, 2);

/* A source needs something in it. */
extern int header_alone;
int header_alone = (int)(GPON_FLOW_IOC_COMMAND & 0xffu);
