/* SPDX-License-Identifier: GPL-2.0-only */
/* The hash of a rule's key. */
#ifndef GPON_HASH_CRC32_H
#define GPON_HASH_CRC32_H

#include "../base/types.h"

extern "C" {

/* Hash of a key: CRC-32 (IEEE 802.3 polynomial, reflected, initial value 0, not inverted), mixed.
 * Null hashes to 0. Any context. */
[[nodiscard]] u32 gpon_hash_calc_key(const u8* key, u16 key_len);
}

namespace gpon {

/* Selects the fastest CRC-32 of this CPU. Called once, before the first key; process context. */
void choose_crc32();

} // namespace gpon

#endif
