/* SPDX-License-Identifier: GPL-2.0-only */
/* Selects a GEM IW TP of a mapper by the priority of the frame. */
#ifndef GPON_ME_CLASS_MAPPER_PRIORITY_H
#define GPON_ME_CLASS_MAPPER_PRIORITY_H

#include <span>

#include "../include/mapper_values.h"
#include "../include/me_class.h"

extern "C" {

/* 0 if the frame's priority selects the GEM IW TP op->inst_id at the mapper
 * op->related_inst_id, else -1, also on any error. Upstream only. Packet path, inside an RCU read
 * section. */
[[nodiscard]] i32 pbit_filter_handle(const sk_buff* skb, const op_info* op) GPON_READS_LISTS;
}

namespace gpon {

/* The priority of a DSCP, 0 to 63, in a mapper's dscp2pbitMap. Any context. */
[[nodiscard]] u8 mapped_priority(std::span<const u8, 24> map, u32 dscp);

/* The GEM IW TP of a priority. defaultPbit is used as stored: a priority above 7 selects the word
 * at that place of the record, and 0 beyond the record. Any context. */
[[nodiscard]] u16 selected_gem_iw(const gpon_raw_mapper& me, u8 priority);

} // namespace gpon

#endif
