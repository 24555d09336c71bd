/* SPDX-License-Identifier: GPL-2.0-only */
/* Keys of rules, the same for the rule table and for every table it is compared with. */
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "include/packet_flow.h"

namespace gpon::bench {

struct rule_key {
    alignas(8) std::array<uint8_t, 32> bytes;
    uint16_t length;
};

/* Bytes of a key: untagged 16, one tag 20, two tags 24. */
inline constexpr uint16_t key_lengths[] = {16, 24};

/* count keys of upstream frames with that length. No two share a bucket in a table of that many
 * buckets (the rule table holds one rule per bucket). The same on every call. */
[[nodiscard]] std::vector<rule_key> keys_for(unsigned count, uint16_t length, unsigned buckets);

/* The same number of other keys. */
[[nodiscard]] std::vector<rule_key> other_keys(std::span<const rule_key> keys);

/* The trace of a walk through a bridge and a mapper. */
[[nodiscard]] gpon_rule_trace trace_of_a_walk();

} // namespace gpon::bench
