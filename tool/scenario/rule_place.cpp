// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/rule_place.h"

#include <array>

#include "base/memory.h"
#include "base/switches.h"
#include "hash/aging.h"
#include "hash/crc32.h"
#include "hash/rule_table.h"
#include "pkt/header.h"
#include "pkt/rule.h"
#include "platform/host/host.h"

namespace gponflow {

namespace {

constexpr std::array<u16, 4> directions_by_kind = {UP_UNI, UP_ANI, DOWN_UNI, DOWN_ANI};

struct table_key {
    std::array<u8, GPON_RULE_KEY_BUFFER> bytes{};
    u16 length = 0;
};

// Whether the table drops a new rule of that key without any other effect.
bool drops_rule(const table_key& key)
{
    const u32 hash = gpon_hash_calc_key(key.bytes.data(), key.length);
    const gpon::bh_lock lock(gpon_hash_lock);
    const gpon_hash_table& table = gpon_hash_table_record;
    return table.total_num < table.threshold &&
           table.buckets[hash & (table.table_size - 1)].first != nullptr;
}

// A frame that may print messages is not left out.
bool frames_are_silent()
{
    return gponDebugLevel == 0 && trace_cfg.valid_mask == 0;
}

bool has_table()
{
    const gpon::bh_lock lock(gpon_hash_lock);
    return gpon_hash_table_record.buckets != nullptr;
}

} // namespace

std::optional<rule_place> find_host_rule(uint32_t kind, const sk_buff& packet)
{
    gpon_pkt_info info;
    if (kind >= directions_by_kind.size() || gponFlowEnableFlag == 0 || !frames_are_silent() ||
        !has_table() || gpon_pkt_form_info(&packet, &info) != 0)
        return {};
    table_key key;
    gpon_rule_generate_key(&info, directions_by_kind.at(kind), key.bytes.data(), &key.length);
    gpon_rule_trace steps;
    if (gpon_hash_get_rule_safe(key.bytes.data(), key.length, &steps) == 0)
        return rule_place{rule_place::stored,
                          std::string(reinterpret_cast<const char*>(&steps), sizeof(steps))};
    return rule_place{drops_rule(key) ? rule_place::taken : rule_place::open, {}};
}

} // namespace gponflow
