// SPDX-License-Identifier: GPL-2.0-only
#include "hook.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../debug/trace.h"
#include "../pkt/frame_events.h"
#include "../pkt/outcome.h"

namespace {

enum api_result : i32 { HANDLED = 0, FAILED = 1, UNKNOWN_KIND = -1 };

constexpr u32 PACKET_KINDS = 4;
constexpr u16 WALK_DIRECTION[PACKET_KINDS] = {UP_UNI, UP_ANI, DOWN_UNI, DOWN_ANI};

u16 direction_of_kind(u32 kind)
{
    return kind < PACKET_KINDS ? WALK_DIRECTION[kind] : u16{0};
}

void write_flag_word(sk_buff* skb, u32 word)
{
    gpon::copy_bytes(reinterpret_cast<u8*>(skb) + skb_flag_word_offset, &word, sizeof(word));
}

// Marks a packet that the trace filter selects, until the end of this object.
class trace_mark {
public:
    explicit trace_mark(sk_buff* skb) : skb_(skb) {}
    ~trace_mark() { clear(); }
    trace_mark(const trace_mark&) = delete;
    trace_mark& operator=(const trace_mark&) = delete;

    // Clears a mark that the packet came with, so only a selected packet has one.
    void apply_filter()
    {
        clear();
        // The filter is off in nearly every call, and a call for that costs more than the rest
        // here.
        if (gpon::load_relaxed(trace_cfg.valid_mask) != 0 && gpon_flow_is_trace_skb(skb_))
            set();
    }

private:
    void set()
    {
        write_flag_word(skb_, gpon::flag_word_of(skb_) | GPON_FLOW_TRACE_MARK);
        gpon::count(GPON_COUNT_frames_traced);
    }

    void clear() { write_flag_word(skb_, gpon::flag_word_of(skb_) & ~GPON_FLOW_TRACE_MARK); }

    sk_buff* skb_;
};

constexpr gpon_counter CALLS[PACKET_KINDS] = {GPON_COUNT_calls_up_uni, GPON_COUNT_calls_up_ani,
                                              GPON_COUNT_calls_down_uni, GPON_COUNT_calls_down_ani};

api_result failed_frame()
{
    gpon::count(GPON_COUNT_frames_failed);
    return FAILED;
}

// The other paths of a frame count it themselves (pkt/flow.cpp, hash/rule_use.h).
api_result passed_with_engine_off()
{
    gpon::count(GPON_COUNT_frames_passed);
    return HANDLED;
}

// With the engine disabled, the platform only chooses the GEM port.
[[gnu::noinline]] api_result map_gem_port_only(u32 kind, sk_buff* skb)
{
    gpon::count(CALLS[kind]);
    gpon::count(GPON_COUNT_frames_engine_off);
    int (*const mapping)(sk_buff*) = gpon::load_relaxed(gpon_mapping_hook);
    if (kind != GPON_API_UP_ANI || !mapping)
        return passed_with_engine_off();
    if (mapping(skb) != -1)
        return passed_with_engine_off();
    gpon::trace_drop(skb, UP_ANI, GPON_END_NO_MAPPING);
    return failed_frame();
}

api_result handle_packet(u32 kind, sk_buff* skb)
{
    if (kind >= PACKET_KINDS) {
        gpon::count(GPON_COUNT_calls_unknown);
        gpon::trace_drop(skb, direction_of_kind(kind), GPON_END_UNKNOWN_KIND);
        dump_stack();
        printk("unknown api_data->api_type: %d\n", static_cast<i32>(kind));
        return UNKNOWN_KIND;
    }
    if (gpon::load_relaxed(gponFlowEnableFlag) == 0)
        return map_gem_port_only(kind, skb);
    if (gpon_pkt_general_flow_func(skb, WALK_DIRECTION[kind]) == 0) [[likely]]
        return HANDLED;
    return failed_frame();
}

} // namespace

int gpon_flow_api_dispatch(struct api_data* data)
{
    if (data->api_type == GPON_API_SWITCH) {
        gpon::count(GPON_COUNT_calls_switch);
        data->api_result = HANDLED;
        gpon::store_relaxed(gponFlowEnableFlag, data->api_param ? 1u : 0u);
    } else if (!data->skb) {
        gpon::count(GPON_COUNT_calls_no_packet);
        data->api_result = FAILED;
        gpon::trace_drop(nullptr, direction_of_kind(data->api_type), GPON_END_NO_PACKET);
    } else {
        trace_mark mark(data->skb);
        mark.apply_filter();
        data->api_result = handle_packet(data->api_type, data->skb);
    }
    return GPON_HOOK_RETURN;
}
