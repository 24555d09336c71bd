// SPDX-License-Identifier: GPL-2.0-only
#include "bench/keys.h"

#include <cstring>
#include <random>
#include <set>

#include "hash/crc32.h"
#include "hash/rule_table.h"

namespace gpon::bench {
namespace {

// Locally administered unicast addresses behind one gateway, as on a subscriber's line.
rule_key key_of(std::mt19937& random, uint16_t length)
{
    rule_key key = {};
    key.length = length;
    const uint8_t gateway[6] = {0x02, 0x00, 0x5e, 0x10, 0x00, 0x01};
    const auto low = static_cast<uint32_t>(random());
    const uint8_t subscriber[6] = {0x02,
                                   0x1a,
                                   static_cast<uint8_t>(low >> 24),
                                   static_cast<uint8_t>(low >> 16),
                                   static_cast<uint8_t>(low >> 8),
                                   static_cast<uint8_t>(low)};
    const uint16_t direction = UP_ANI;
    std::memcpy(&key.bytes[0], gateway, sizeof(gateway));
    std::memcpy(&key.bytes[6], subscriber, sizeof(subscriber));
    std::memcpy(&key.bytes[14], &direction, sizeof(direction));
    for (unsigned at = GPON_RULE_KEY_HEAD; at < length; at += GPON_RULE_KEY_TAG) {
        const uint16_t tag[2] = {0x8100, static_cast<uint16_t>(100 + random() % 8)};
        std::memcpy(&key.bytes[at], tag, sizeof(tag));
    }
    return key;
}

} // namespace

std::vector<rule_key> keys_for(unsigned count, uint16_t length, unsigned buckets)
{
    std::mt19937 random(20260101);
    std::set<uint32_t> taken;
    std::vector<rule_key> keys;
    while (keys.size() < count) {
        const rule_key key = key_of(random, length);
        if (taken.insert(gpon_hash_calc_key(key.bytes.data(), length) & (buckets - 1)).second)
            keys.push_back(key);
    }
    return keys;
}

std::vector<rule_key> other_keys(std::span<const rule_key> keys)
{
    std::vector<rule_key> others(keys.begin(), keys.end());
    // No gateway of these keys has this address.
    for (rule_key& key : others)
        key.bytes[5] = 0xfe;
    return others;
}

gpon_rule_trace trace_of_a_walk()
{
    return {{{me_class::mbsp, 1},
             {me_class::mbpcd, 0x1001},
             {me_class::mapper, 1},
             {me_class::gemiw, 0x11},
             {me_class::gemctp, 1}}};
}

} // namespace gpon::bench
