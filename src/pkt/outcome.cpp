// SPDX-License-Identifier: GPL-2.0-only
#include "outcome.h"

#include "../base/log.h"
#include "../hash/outcome_table.h"
#include "../hash/rule_use.h"
#include "flow.h"
#include "frame_events.h"
#include "header.h"
#include "rule.h"

namespace {

bool outcomes_are_used()
{
#ifdef GPON_HOST_BUILD
    return gpon_host_remembers_outcomes;
#else
    return true;
#endif
}

// True if no message about this packet can be printed: a replay then prints nothing.
bool is_silent(const sk_buff* skb)
{
    return gpon::debug_level() == 0 && !gpon::is_marked(skb);
}

constexpr u32 OUTER = gpon::TYPE_OFFSET, INNER = OUTER + gpon::TAG_BYTES,
              LAST_TYPE = INNER + gpon::TAG_BYTES;

[[gnu::always_inline]] inline bool is_tagged_twice(const gpon::frame& f)
{
    return gpon::is_tpid(f.be16(OUTER)) && gpon::is_tpid(f.be16(INNER));
}

// False if the frame's rule key has more than two tags or reads beyond the frame's end; a frame
// whose tag count wraps to 0 is one of them.
[[gnu::always_inline]] inline bool has_packed_key(const gpon::frame& f)
{
    return f.bytes.size() >= LAST_TYPE + sizeof(u16) &&
           !(is_tagged_twice(f) && gpon::is_tpid(f.be16(LAST_TYPE)));
}

// The packed rule key of a frame that has one.
[[gnu::always_inline]] inline gpon::outcome_key packed_key_of(const gpon::frame& f, u16 fwd_flag)
{
    const u32 outer = gpon::is_tpid(f.be16(OUTER)) ? f.word_at<u32>(OUTER) : 0;
    const u32 inner = is_tagged_twice(f) ? f.word_at<u32>(INNER) : 0;
    return {f.word_at<u64>(0), f.word_at<u32>(sizeof(u64)) | u64{outer} << 32,
            inner | u64{fwd_flag} << 32};
}

// True if each replay has the same result. Upstream towards the ANI every step must have succeeded:
// one that failed for lack of memory may succeed the next time.
bool is_repeatable(u16 fwd_flag, bool every_step_made)
{
    switch (fwd_flag) {
    case UP_UNI:
    case DOWN_ANI:
    case DOWN_UNI:
        return true;
    case UP_ANI:
        return every_step_made;
    default:
        return false;
    }
}

// Out of line and called last: frames of other directions save no registers for it.
[[gnu::noinline]] i32 choose_known_queue(sk_buff* skb, u16 gemport_id, size_t place)
{
    if (gpon::choose_queue(skb, gemport_id) != 0) [[unlikely]] {
        gpon::add_failed_use(place);
        return -1;
    }
    count_use(place);
    return 0;
}

// What is left to do for a frame whose outcome is known. The use of the place counts frames that
// passed, so it comes last.
[[gnu::always_inline, nodiscard]] inline i32 apply_outcome(sk_buff* skb, u16 fwd_flag,
                                                           const gpon::known_outcome& known)
{
    const size_t place = gpon::place_index(*known.place);
    if (fwd_flag == UP_ANI)
        return choose_known_queue(skb, known.gemport_id, place);
    count_use(place);
    return 0;
}

// Out of line and called last: other frames save no registers for the event.
[[gnu::noinline]] i32 apply_traced_outcome(sk_buff* skb, u16 fwd_flag, gpon::known_outcome known)
{
    gpon::trace_hit(skb, fwd_flag, known.gemport_id, true);
    return apply_outcome(skb, fwd_flag, known);
}

// Out of line: the key of a known frame stays in registers, only this copy has an address.
[[gnu::noinline]] i32 classify_with_key(sk_buff* skb, u16 fwd_flag, u64 generation, u64 first,
                                        u64 middle, u64 last)
{
    const gpon::outcome_key key = {first, middle, last};
    return gpon::classify(skb, fwd_flag, generation, &key);
}

} // namespace

i32 gpon_pkt_general_flow_func(sk_buff* skb, u16 fwd_flag)
{
    log_trace("[%s][%d]: Enter\n");
    if (!skb) {
        log_error("%s [%d]: skb is NULL: Fail\r\n");
        return -1;
    }
    const u64 generation = gpon::current_generation();
    if (!is_silent(skb) || !outcomes_are_used())
        return gpon::classify(skb, fwd_flag, generation, nullptr);
    const gpon::frame f = gpon::frame::of(skb);
    if (!has_packed_key(f))
        return gpon::classify(skb, fwd_flag, generation, nullptr);
    const gpon::outcome_key key = packed_key_of(f, fwd_flag);
    if (gpon::known_outcome known; gpon::find_outcome(key, generation, &known)) {
        if (gpon::is_traced(GPON_TRACEPOINT_RULE_HIT)) [[unlikely]]
            return apply_traced_outcome(skb, fwd_flag, known);
        return apply_outcome(skb, fwd_flag, known);
    }
    return classify_with_key(skb, fwd_flag, generation, key.first, key.middle, key.last);
}

void gpon::remember_replay(const outcome_key* key, const gpon_pkt_info& info, u16 fwd_flag,
                           u64 generation, bool every_step_made, u16 gemport_id)
{
    // The replay read the store without a lock. Its loads must not be done after the next frame of
    // this CPU reads the generation: that frame could use an outcome older than what this one saw.
    // The loads are ordered before this barrier, and that read comes after it.
    order_loads();
    if (!key || !is_repeatable(fwd_flag, every_step_made))
        return;
    const rule_key rule = rule_key::of(info, fwd_flag);
    remember_outcome(*key, generation, gemport_id, {rule.bytes, rule.length});
}
