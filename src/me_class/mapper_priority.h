/* SPDX-License-Identifier: GPL-2.0-only */
/* Which of a mapper's GEM IW TPs a frame belongs to, by its priority. */
#ifndef GPON_ME_CLASS_MAPPER_PRIORITY_H
#define GPON_ME_CLASS_MAPPER_PRIORITY_H

#include "../include/me_class.h"

extern "C" {

/* 0 when the frame's priority selects the GEM IW TP op->inst_id at the mapper
 * op->related_inst_id, else -1, also on any error. Upstream only. Packet path, inside an RCU read
 * section. */
i32 pbit_filter_handle(const sk_buff* skb, const op_info* op);
}

#endif
