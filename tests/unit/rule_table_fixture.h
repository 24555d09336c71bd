/* SPDX-License-Identifier: GPL-2.0-only */
/* The rule table with rules of numbered keys. */
#pragma once

#include "tests/support/loaded_module.h"

#include <array>
#include <cstring>
#include <optional>
#include <random>
#include <utility>

#include "hash/aging.h"
#include "hash/crc32.h"
#include "hash/rule_table.h"

namespace gpon::test {

/* The hash as it is defined: byte by byte, with the polynomial alone. */
inline u32 plain_hash(const u8* bytes, u16 length)
{
    u32 crc = 0;
    for (u16 i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0u);
    }
    u32 h = crc;
    h += h << 12;
    h ^= h >> 22;
    h += h << 4;
    h ^= h >> 9;
    h += h << 10;
    h ^= h >> 2;
    h += h << 7;
    h ^= h >> 12;
    return (h >> 3) * 0x9E3779B1u;
}

} // namespace gpon::test

class rule_table : public loaded_module {
protected:
    using rule_key = std::array<u8, GPON_RULE_KEY_BUFFER>;

    // Keys with a number in their source MAC.
    static rule_key key_of(u32 number)
    {
        rule_key k = {};
        std::memcpy(k.data() + 6, &number, sizeof(number));
        k[14] = UP_UNI;
        return k;
    }

    static gpon_rule_trace trace_of(u16 number)
    {
        gpon_rule_trace trace = {};
        trace.step[0] = {me_class::pptp, number};
        return trace;
    }

    i32 add(const rule_key& k, u16 number = 1, u16 length = 16)
    {
        const gpon_rule_trace trace = trace_of(number);
        return gpon_hash_add_node_safe(k.data(), length, &trace);
    }

    // Instance id of the first step, or nothing when the key is not there.
    std::optional<u16> find(const rule_key& k, u16 length = 16)
    {
        gpon_rule_trace trace = {};
        if (gpon_hash_get_rule_safe(k.data(), length, &trace) != 0)
            return {};
        return trace.step[0].instId;
    }

    u32 bucket_of(const rule_key& k, u16 length = 16)
    {
        return gpon_hash_calc_key(k.data(), length) & (table().table_size - 1);
    }

    // The first key from a number on that falls into a free bucket, or into a given one.
    rule_key free_key(u32& number)
    {
        for (;; ++number)
            if (!table().buckets[bucket_of(key_of(number))].first)
                return key_of(number++);
    }

    rule_key key_in_bucket(u32 bucket)
    {
        u32 number = 1u << 22;
        while (bucket_of(key_of(number)) != bucket)
            ++number;
        return key_of(number);
    }

    rule_key colliding_key(const rule_key& with)
    {
        for (u32 number = 1u << 20;; ++number)
            if (key_of(number) != with && bucket_of(key_of(number)) == bucket_of(with))
                return key_of(number);
    }

    // Two keys that share a bucket and differ in one byte.
    std::pair<rule_key, rule_key> keys_apart(u16 length, u16 byte)
    {
        for (;;) {
            rule_key one;
            for (u8& each : one)
                each = static_cast<u8>(random_());
            for (u8 difference = 1; difference != 0; ++difference) {
                rule_key other = one;
                other[byte] = static_cast<u8>(other[byte] ^ difference);
                if (bucket_of(one, length) == bucket_of(other, length))
                    return {one, other};
            }
        }
    }

    // As many rules as asked for, each in a bucket of its own.
    void fill(u32 count)
    {
        for (u32 number = 1; table().total_num < count;)
            ASSERT_EQ(add(free_key(number)), 0);
    }

    static gpon_hash_table& table() GPON_THREAD_ATTRIBUTE(no_thread_safety_analysis)
    {
        return gpon_hash_table_record;
    }

    static void sweep()
    {
        spin_lock_bh(&gpon_hash_lock);
        gpon_hash_delete_aging_node();
        spin_unlock_bh(&gpon_hash_lock);
    }

private:
    std::mt19937 random_{1};
};
