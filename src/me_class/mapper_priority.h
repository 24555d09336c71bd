/* SPDX-License-Identifier: GPL-2.0-only */
/* Selects a GEM IW TP of a mapper by the priority of the frame. */
#ifndef GPON_ME_CLASS_MAPPER_PRIORITY_H
#define GPON_ME_CLASS_MAPPER_PRIORITY_H

#include "../include/me_class.h"

extern "C" {

/* 0 if the frame's priority selects the GEM IW TP op->inst_id at the mapper
 * op->related_inst_id, else -1, also on any error. Upstream only. Packet path, inside an RCU read
 * section. */
[[nodiscard]] i32 pbit_filter_handle(const sk_buff* skb, const op_info* op) GPON_READS_LISTS;
}

namespace gpon {

/* The priority of a DSCP, 0 to 63, in a mapper's dscp2pbitMap. Any context. */
[[nodiscard]] u8 mapped_priority(const u8 (&map)[24], u32 dscp);

} // namespace gpon

#endif
