// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "dump.h"

#include "../base/log.h"
#include "../base/memory.h"
#include "rule_table.h"

using gpon::bh_lock;

namespace {

constexpr size_t RULE_WIDTH = 121;

struct ruler {
    char text[RULE_WIDTH + 1];
};

consteval ruler ruler_of(char c)
{
    ruler made{};
    for (size_t i = 0; i < RULE_WIDTH; ++i)
        made.text[i] = c;
    return made;
}

constexpr ruler EQUALS = ruler_of('=');
constexpr ruler HYPHENS = ruler_of('-');

void continue_tag_values(const u16* values, u8 count)
{
    for (u8 i = 1; i < count; ++i)
        pr_cont(":%04x", values[i]);
    for (u8 i = count; i < GPON_MAX_TAGS; ++i)
        pr_cont(":xxxx");
}

void continue_tags(const gpon_hash_dump_state& state)
{
    if (state.tag_num == 0) {
        pr_cont(" %23s | %22s", "xxxx:xxxx:xxxx:xxxx", "xxxx:xxxx:xxxx:xxxx");
        return;
    }
    pr_cont(" %8.04x", state.tpid[0]);
    continue_tag_values(state.tpid, state.tag_num);
    pr_cont(" | %7.04x", state.tci[0]);
    continue_tag_values(state.tci, state.tag_num);
}

void dump_trace(const gpon_rule_trace& trace)
{
    printk("| Trace:CLASS(INST)");
    for (const gpon_trace_step& step : trace.step) {
        if (step.classId == me_class::none)
            break;
        pr_cont("->%d(0x%x)", gpon::class_number(step.classId), step.instId);
    }
    pr_cont("|\n");
}

void dump_rule(const gpon_flow_rule& rule)
{
    gpon_hash_dump_state state = {};
    u16 direction = 0;
    gpon_hash_parsing_key(rule.key, rule.key_len, &state, &direction);
    gpon_hash_dump_skb_info(rule.index, &state, direction);
    dump_trace(*rule.trace);
}

void dump_bucket(gpon_hash_bucket& bucket) GPON_REQUIRES(gpon_hash_lock)
{
    if (bucket.node_num == 0)
        return;
    printk("|** hash_val = %#x **|** node_num =%d **|\n", bucket.hash_val, bucket.node_num);
    gpon::for_each_rule(bucket, [](gpon_flow_rule* rule) { dump_rule(*rule); });
    printk("%s\n", EQUALS.text);
}

} // namespace

const char* gpon::direction_name(u16 direction)
{
    switch (direction) {
    case UP_ANI:
        return "UP_ANI";
    case UP_UNI:
        return "UP_UNI";
    case DOWN_ANI:
        return "DOWN_ANI";
    case DOWN_UNI:
        return "DOWN_UNI";
    default:
        return "N/A";
    }
}

void gpon_hash_parsing_key(const u8* key, u16 key_len, gpon_hash_dump_state* state, u16* direction)
{
    log_trace("[%s][%d]: Enter\n");
    if (!key) {
        log_error("[%s][%d] input parament is NULL\r\n");
        return;
    }
    u8 bytes[GPON_RULE_KEY_BUFFER] = {};
    gpon::copy_bytes(bytes, key, key_len < sizeof(bytes) ? key_len : sizeof(bytes));
    gpon::copy_bytes(state->dst_mac, bytes, sizeof(state->dst_mac));
    gpon::copy_bytes(state->src_mac, bytes + 6, sizeof(state->src_mac));
    state->port_id = gpon::load_unaligned<u16>(bytes + 12);
    *direction = gpon::load_unaligned<u16>(bytes + 14);
    const u32 tags = key_len < GPON_RULE_KEY_HEAD
                         ? 0
                         : static_cast<u32>(key_len - GPON_RULE_KEY_HEAD) / GPON_RULE_KEY_TAG;
    state->tag_num = static_cast<u8>(tags < GPON_MAX_TAGS ? tags : GPON_MAX_TAGS);
    for (u8 i = 0; i < state->tag_num; ++i) {
        const u8* tag = bytes + GPON_RULE_KEY_HEAD + GPON_RULE_KEY_TAG * i;
        state->tpid[i] = gpon::load_unaligned<u16>(tag);
        state->tci[i] = gpon::load_unaligned<u16>(tag + 2);
    }
}

i32 gpon_hash_dump_skb_info(u16 index, const gpon_hash_dump_state* state, u16 direction)
{
    log_trace("[%s][%d]: Enter\n");
    if (!state) {
        log_error("[%s][%d] end, Parameter is NULL\n");
        return -1;
    }
    const u8* dst = state->dst_mac;
    const u8* src = state->src_mac;
    printk("%s\n", HYPHENS.text);
    printk("| %5s | %17s | %17s | %23s | %22s | %6s | %9s |\n", "Index", "DstMac(Hex)",
           "SrcMac(Hex)", "Tpid(Hex)[OUTER->INNER]", "Tci(Hex)[OUTER->INNER]", "PortID",
           "Direction");
    printk("| %5d | %02x:%02x:%02x:%02x:%02x:%02x | %02x:%02x:%02x:%02x:%02x:%02x |", index, dst[0],
           dst[1], dst[2], dst[3], dst[4], dst[5], src[0], src[1], src[2], src[3], src[4], src[5]);
    continue_tags(*state);
    pr_cont(" | %6d", state->port_id);
    pr_cont(" | %9s |\n", gpon::direction_name(direction));
    return 0;
}

i32 gpon_hash_dump_all_safe(void)
{
    log_trace("[%s][%d]: Enter\n");
    printk("|*******************************************************Rule Table"
           "*******************************************************|\n");
    const bh_lock lock(gpon_hash_lock);
    const gpon_hash_table& table = gpon_hash_table_record;
    printk(" total_num = %d\n", static_cast<i32>(table.total_num));
    printk(" table_size = %d\n", static_cast<i32>(table.table_size));
    printk(" threshold = %d\n", static_cast<i32>(table.threshold));
    printk("%s\n", EQUALS.text);
    for (u32 i = 0; table.buckets && i < table.table_size; ++i)
        dump_bucket(table.buckets[i]);
    return 0;
}
