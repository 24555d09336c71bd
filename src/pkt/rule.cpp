// SPDX-License-Identifier: GPL-2.0-only
#include "rule.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../hash/rule_table.h"
#include "../me/registry.h"
#include "frame_events.h"
#include "header.h"
#include "outcome.h"

namespace {

gpon::rule_key key_of(const gpon_pkt_info* info, u16 fwd_flag)
{
    gpon::rule_key key;
    gpon_rule_generate_key(info, fwd_flag, key.bytes, &key.length);
    return key;
}

// Appends fields of a key, without gaps.
class key_writer {
public:
    explicit key_writer(u8* key) : at_(key) {}

    void put(std::span<const u8> bytes)
    {
        gpon::copy_bytes(at_, bytes.data(), bytes.size());
        at_ += bytes.size();
    }

    void put(u16 value) { put(gpon::bytes_of(value)); }

private:
    u8* at_;
};

// Returns the length of the key.
u16 write_key(const gpon_pkt_info& info, u16 fwd_flag, u8* key)
{
    key_writer writer(key);
    writer.put(info.dst_mac);
    writer.put(info.src_mac);
    writer.put(info.port_id);
    writer.put(fwd_flag);
    u16 length = GPON_RULE_KEY_HEAD;
    for (u8 i = 0; i < info.tag_num && i < GPON_MAX_TAGS; ++i) {
        writer.put(info.tpid[i]);
        writer.put(info.tci[i]);
        length = static_cast<u16>(length + GPON_RULE_KEY_TAG);
    }
    return length;
}

enum class replay { next_step, ended, failed };

[[nodiscard]] replay replay_step(sk_buff* skb, const gpon_fwd_info* step, gpon_walk_result* result,
                                 const packet_log& log)
{
    if (step->classId == me_class::none) {
        log.warning("[%s][%d] find the end classId, break.\n");
        return replay::ended;
    }
    result->decision = GPON_DECISION_NONE;
    const gpon_me_entry* entry = gpon::find_class(step->classId);
    if (!entry || !entry->fwd_op) {
        log.error("[%s][%d] end, the classId(%d) can not get the entry or without fwd_op.\n",
                  step->classId);
        return replay::failed;
    }
    if (entry->fwd_op->forward && entry->fwd_op->forward(skb, step, result) != 0) {
        log.error("[%s][%d] end, the classId(%d) fwd_op fail.\n", step->classId);
        return replay::failed;
    }
    return replay::next_step;
}

} // namespace

void gpon_rule_generate_key(const gpon_pkt_info* info, u16 fwd_flag, u8* key, u16* key_len)
{
    log_trace("[%s][%d]: Enter\n");
    *key_len = write_key(*info, fwd_flag, key);
}

gpon::rule_key gpon::rule_key::of(const gpon_pkt_info& info, u16 fwd_flag)
{
    rule_key key;
    key.length = write_key(info, fwd_flag, key.bytes);
    return key;
}

i32 gpon_rule_add_inst(const gpon_pkt_info* info, u16 fwd_flag, const gpon_rule_trace* trace,
                       u64 walked_in)
{
    log_trace("[%s][%d]: Enter\n");
    const gpon::rule_key key = key_of(info, fwd_flag);
    gpon_hash_add_node_safe(key.bytes, key.length, trace, walked_in);
    return 0;
}

i32 gpon_rule_generate_trace(const sk_buff* skb, u16 fwd_flag, const gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    if (!skb) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    gpon_pkt_info info;
    if (gpon_pkt_form_info(skb, &info) != 0) {
        log.error("[%s][%d] end, form SKB Info: Fail\n");
        return -1;
    }
    return gpon_rule_add_inst(&info, fwd_flag, &result->trace);
}

i32 gpon_rule_get_inst(const gpon_pkt_info* info, u16 fwd_flag, gpon_rule_trace* trace)
{
    log_trace("[%s][%d]: Enter\n");
    const gpon::rule_key key = key_of(info, fwd_flag);
    return gpon_hash_get_rule_safe(key.bytes, key.length, trace);
}

i32 gpon_rule_lookup_trace(const sk_buff* skb, u16 fwd_flag, gpon_rule_trace* trace)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    if (!skb || !trace) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    gpon_pkt_info info;
    if (gpon_pkt_form_info(skb, &info) != 0) {
        log.error("[%s][%d] end, form SKB Info: Fail\n");
        return -1;
    }
    *trace = {};
    return gpon_rule_get_inst(&info, fwd_flag, trace);
}

i32 gpon::lookup_rule(const gpon_pkt_info& info, u16 fwd_flag, gpon_rule_trace* trace)
{
    trace_form_info();
    *trace = {};
    return gpon_rule_get_inst(&info, fwd_flag, trace);
}

i32 gpon::learn_rule(const gpon_pkt_info& info, u16 fwd_flag, const gpon_rule_trace& trace,
                     u64 walked_in)
{
    trace_form_info();
    return gpon_rule_add_inst(&info, fwd_flag, &trace, walked_in);
}

i32 gpon::report_missing_queue(const sk_buff* skb, bool was_asked)
{
    count(GPON_COUNT_queue_failures);
    // The port of the packet: a frame that passes saves no registers for it.
    trace_drop(skb, UP_ANI, GPON_END_NO_QUEUE, skb_gemport_id(skb));
    const packet_log log = packet_log::of<gpon_pkt_handle_after_fwd_done>(skb);
    if (was_asked)
        log.error("[%s][%d]: no priority queue find!\n");
    else
        log.error("[%s][%d]: gpon_queue_mapping_hook invalid!\n");
    return -1;
}

bool gpon_pkt_quick_forward(sk_buff* skb, gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    for (const gpon_trace_step& learnt : result->trace.step) {
        fwd_info->classId = learnt.classId;
        fwd_info->instId = learnt.instId;
        const replay step = replay_step(skb, fwd_info, result, log);
        if (step == replay::ended)
            return true;
        gpon::trace_replay_step(skb, *fwd_info, *result,
                                static_cast<u32>(&learnt - result->trace.step),
                                step == replay::failed);
        if (step == replay::failed)
            return false;
    }
    return true;
}

i32 gpon_pkt_handle_after_fwd_done(sk_buff* skb, u16 fwd_flag, const gpon_walk_result* result)
{
    log_trace("[%s][%d]: Enter\n");
    switch (fwd_flag) {
    case UP_UNI:
    case DOWN_ANI:
    case DOWN_UNI:
        return 0;
    case UP_ANI:
        return gpon::choose_queue(skb, result->gemport_id);
    default:
        packet_log::here(skb).error("%s [%d]: fwd_flag(%d): Fail\r\n", fwd_flag);
        // Reported on behalf of the caller, which reports nothing when the queue choice fails.
        packet_log::of<gpon_pkt_general_flow_func>(skb).error(
            "%s [%d]: gpon_pkt_handle_after_fwd_done Fail\r\n");
        return -1;
    }
}
