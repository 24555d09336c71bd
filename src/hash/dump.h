/* SPDX-License-Identifier: GPL-2.0-only */
/* The dump of the rule table for operators. */
#ifndef GPON_HASH_DUMP_H
#define GPON_HASH_DUMP_H

#include "../include/packet_flow.h"
#include "../platform/api/kernel_api.h"

/* Header fields of a rule's key, in host order. */
struct gpon_hash_dump_state {
    u8 dst_mac[6];
    u8 src_mac[6];
    u16 port_id;
    u16 tpid[GPON_MAX_TAGS]; /* outer to inner */
    u16 tci[GPON_MAX_TAGS];
    u8 tag_num;
};

extern "C" {

/* Decodes a key. A null key leaves both results unchanged. */
void gpon_hash_parsing_key(const u8* key, u16 key_len, gpon_hash_dump_state* state, u16* direction);

/* Prints the column header and one row; -1 for a null record. */
i32 gpon_hash_dump_skb_info(u16 index, const gpon_hash_dump_state* state, u16 direction);

/* Prints the whole table to the kernel log, under the lock. Process context; always returns 0. */
i32 gpon_hash_dump_all_safe(void) GPON_EXCLUDES(gpon_hash_lock);
}

namespace gpon {

/* The name of a direction in a dump; "N/A" for any other value. Any context. */
[[nodiscard]] const char* direction_name(u16 direction);

} // namespace gpon

#endif
