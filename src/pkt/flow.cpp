// SPDX-License-Identifier: GPL-2.0-only
#include "flow.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../base/memory.h"
#include "../me_class/gemctp_gem_port_network_ctp.h"
#include "../me_class/gemiw_gem_interworking_tp.h"
#include "../me_class/mbsp_mac_bridge_service_profile.h"
#include "../me_class/multigemiw_multicast_gem_interworking_tp.h"
#include "../me_class/pptp_ethernet_uni.h"
#include "../me_class/veip_virtual_ethernet_interface_point.h"
#include "frame_events.h"
#include "header.h"
#include "outcome.h"
#include "rule.h"
#include "walk.h"

namespace {

// UNI port number, 0 to 15.
u8 uni_port(const sk_buff* skb)
{
    return static_cast<u8>((skb_port_word(skb) >> 4) & 0xf);
}

[[nodiscard]] bool reaches_egress(sk_buff* skb, const gpon_fwd_info& start,
                                  gpon_walk_result* result) GPON_READS_LISTS
{
    return gpon_pkt_general_forward(skb, &start, result) == 0 &&
           result->ret_val == FLOW_PKT_FORWARD_DONE;
}

// First step of a downstream packet. A GEM port without CTP starts at CTP 0.
gpon_fwd_info downstream_start(const sk_buff* skb) GPON_READS_LISTS
{
    u16 gem_ctp_id = 0;
    gem_ctp_get_inst_id_by_gemport_id(skb_gemport_id(skb), &gem_ctp_id);
    gpon_fwd_info start = {me_class::gemiw, 0, DOWN_ANI};
    if (skb_multicast(skb) == 1) {
        start.classId = me_class::multigemiw;
        multi_gem_get_inst_id_by_gem_ctp(gem_ctp_id, &start.instId);
    } else {
        gem_get_inst_id_by_gem_ctp(gem_ctp_id, &start.instId);
    }
    return start;
}

// The walk of one direction; prints a message if it fails.
[[nodiscard]] i32 walk(sk_buff* skb, u16 fwd_flag, gpon_walk_result* result,
                       const packet_log& log) GPON_READS_LISTS
{
    switch (fwd_flag) {
    case UP_UNI:
        if (gpon_pkt_upstream_uni(skb, result) == 0)
            return 0;
        log.error("%s [%d]: gpon_pkt_upstream_uni Fail\r\n");
        return -1;
    case UP_ANI:
        if (gpon_pkt_upstream_ani(skb, result) == 0)
            return 0;
        log.error("%s [%d]: gpon_pkt_upstream_ani Fail\r\n");
        return -1;
    case DOWN_ANI:
        if (gpon_pkt_downstream_ani(skb, result) == 0)
            return 0;
        log.error("%s [%d]: gpon_pkt_downstream_ani Fail\r\n");
        return -1;
    case DOWN_UNI:
        return gpon_pkt_downstream_uni(skb, result);
    default:
        log.error("%s [%d]: unknown fwd_flag: %d\n", fwd_flag);
        return -1;
    }
}

// The header is read once per call: result, lookup and learning use the same summary. Through a
// pointer: an optional costs 5 instructions for each frame (./run bench-check).
[[nodiscard]] i32 init_from_summary(const sk_buff* skb, gpon_walk_result* result,
                                    gpon_pkt_info* info, const packet_log& log)
{
    log.without_packet().trace("[%s][%d]: Enter\n");
    if (!skb) {
        log.without_packet().error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    *result = {};
    if (gpon_pkt_form_info(skb, info) != 0) {
        log.error("[%s][%d] end, form SKB Info: Fail\n");
        return -1;
    }
    result->port_word = info->port_word;
    result->mark_word = info->mark_word;
    gpon::copy_bytes(result->tpid, info->tpid, sizeof(result->tpid));
    gpon::copy_bytes(result->tci, info->tci, sizeof(result->tci));
    result->tag_num = info->tag_num;
    result->ret_val = FLOW_PKT_NOT_FORWARD;
    return 0;
}

gpon_counter calls_of(u16 fwd_flag)
{
    switch (fwd_flag) {
    case UP_UNI:
        return GPON_COUNT_calls_up_uni;
    case UP_ANI:
        return GPON_COUNT_calls_up_ani;
    case DOWN_UNI:
        return GPON_COUNT_calls_down_uni;
    case DOWN_ANI:
        return GPON_COUNT_calls_down_ani;
    default:
        return GPON_COUNT_calls_unknown;
    }
}

// Why a walk failed. A branch may end for several reasons; the one that explains most comes first.
gpon_frame_end failure_of(const gpon_walk_result& result)
{
    if (result.obstacles & WALK_TOO_DEEP)
        return GPON_END_TOO_DEEP;
    if (result.obstacles & WALK_STEP_FAILED)
        return GPON_END_STEP_FAILED;
    return result.obstacles & WALK_FILTERED ? GPON_END_FILTERED : GPON_END_NO_PATH;
}

// The counters of walks are in the order of their ends.
constexpr gpon_counter counter_of(gpon_frame_end end)
{
    return static_cast<gpon_counter>(GPON_COUNT_walks_done + static_cast<i32>(end));
}
static_assert(counter_of(GPON_END_NO_PATH) == GPON_COUNT_walks_no_path &&
              counter_of(GPON_END_FILTERED) == GPON_COUNT_walks_filtered &&
              counter_of(GPON_END_STEP_FAILED) == GPON_COUNT_walks_step_failed &&
              counter_of(GPON_END_TOO_DEEP) == GPON_COUNT_walks_too_deep);

void end_walk(const sk_buff* skb, u16 fwd_flag, gpon_frame_end end, u16 gemport_id)
{
    gpon::count(counter_of(end));
    gpon::trace_walk_end(skb, fwd_flag, end, gemport_id);
    if (end != GPON_END_PASSED)
        gpon::trace_drop(skb, fwd_flag, end);
}

// Replays the rule that the lookup found.
void replay_rule(sk_buff* skb, const gpon_pkt_info& info, u16 fwd_flag, u64 generation,
                 const gpon::outcome_key* key, gpon_walk_result* result) GPON_READS_LISTS
{
    gpon::count(GPON_COUNT_replays);
    gpon_fwd_info step = {me_class::none, 0, fwd_flag};
    const bool every_step_made = gpon_pkt_quick_forward(skb, &step, result);
    gpon::trace_hit(skb, fwd_flag, result->gemport_id, false);
    gpon::remember_replay(key, info, fwd_flag, generation, every_step_made, result->gemport_id);
}

i32 end_frame(sk_buff* skb, u16 fwd_flag, const gpon_walk_result& result)
{
    const i32 ended = gpon_pkt_handle_after_fwd_done(skb, fwd_flag, &result);
    if (ended == 0)
        gpon::count(GPON_COUNT_frames_passed);
    return ended;
}

} // namespace

i32 gpon_pkt_init_fwd_info(const sk_buff* skb, gpon_walk_result* result)
{
    gpon_pkt_info info;
    return init_from_summary(skb, result, &info, packet_log::here(skb));
}

i32 gpon_pkt_upstream_uni(sk_buff* skb, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: Enter\n");
    const u8 port = uni_port(skb);
    gpon_fwd_info start = {me_class::pptp, 0, UP_UNI};
    pptp_get_inst_id_by_port_id(port, &start.instId);
    if (reaches_egress(skb, start, result))
        return 0;
    log.warning("[%s][%d]the PPTP can not get the entry.\n");
    start.classId = me_class::veip;
    veip_get_inst_id_by_port_id(port, &start.instId);
    if (reaches_egress(skb, start, result))
        return 0;
    log.error("[%s][%d]the PPTP/VEIP can not get the entry.\n");
    return -1;
}

i32 gpon_pkt_upstream_ani(sk_buff* skb, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: Enter\n");
    u32 count = 0;
    const gpon::owned<u16> bridges(get_mbsp_list_inst_id(&count));
    if (!bridges) {
        log_error("%s [%d]: mbspInstArray is a NULL pointer\r\n");
        // There are bridges, but no memory for their ids.
        if (count != 0)
            result->obstacles |= WALK_STEP_FAILED;
        return -1;
    }
    for (u32 i = 0; i < count; ++i) {
        const gpon_fwd_info start = {me_class::mbsp, bridges[i], UP_ANI};
        if (!reaches_egress(skb, start, result))
            continue;
        log.trace("[%s][%d]: FLOW_PKT_FORWARD_DONE, gemportid=%d\n", skb_gemport_id(skb));
        return 0;
    }
    return count == 0 ? 0 : -1;
}

i32 gpon_pkt_downstream_ani(sk_buff* skb, gpon_walk_result* result)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: Enter\n");
    const gpon_fwd_info start = downstream_start(skb);
    if (gpon_pkt_general_forward(skb, &start, result) != 0) {
        log.error("[%s][%d]: DownStream ANI Operation fail!\n");
        return -1;
    }
    if (result->ret_val == FLOW_PKT_FORWARD_DONE) {
        log.trace("[%s][%d]: FLOW_PKT_FORWARD_DONE, gemportid=%d\n", skb_gemport_id(skb));
        return 0;
    }
    if (start.classId == me_class::multigemiw) {
        log.trace("[%s][%d] MultiCast Gemport not in MAC Bridge,gemportid=%d.\n",
                  skb_gemport_id(skb));
        return 0;
    }
    log.error("[%s][%d]: DownStream ANI Operation fail! ret_val=%d\n", result->ret_val);
    return -1;
}

i32 gpon_pkt_downstream_uni(sk_buff*, gpon_walk_result*)
{
    log_trace("[%s][%d]: Enter\n");
    return 0;
}

i32 gpon::classify(sk_buff* skb, u16 fwd_flag, u64 generation, const outcome_key* key)
{
    const u64 store = current_store();
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::of<gpon_pkt_general_flow_func>(skb);
    gpon::count(calls_of(fwd_flag));
    const rcu_reader reader;
    GPON_WRITTEN_WHOLE gpon_walk_result result;
    GPON_WRITTEN_WHOLE gpon_pkt_info info;
    if (init_from_summary(skb, &result, &info, packet_log::of<gpon_pkt_init_fwd_info>(skb)) != 0) {
        log.error("%s [%d]: gpon_pkt_init_fwd_info Fail\r\n");
        gpon::trace_drop(skb, fwd_flag, GPON_END_UNREADABLE);
        return -1;
    }
    const packet_memory_owner buffers(result.memory);
    if (lookup_rule(info, fwd_flag, &result.trace) == 0) {
        replay_rule(skb, info, fwd_flag, generation, key, &result);
        log.trace("[%s][%d]: Rule already exist!\n");
        return end_frame(skb, fwd_flag, result);
    }
    gpon::count(GPON_COUNT_walks);
    gpon::trace_walk_start(skb, fwd_flag);
    const i32 walked = walk(skb, fwd_flag, &result, log);
    // The walk read the store, like a replay (remember_replay). A failed walk takes no lock that
    // would order its loads.
    order_loads();
    end_walk(skb, fwd_flag, walked == 0 ? GPON_END_PASSED : failure_of(result), result.gemport_id);
    if (walked != 0)
        return -1;
    if (learn_rule(info, fwd_flag, result.trace, store) != 0) {
        log.error("%s [%d]: gpon_rule_generate_trace Fail\r\n");
        return -1;
    }
    return end_frame(skb, fwd_flag, result);
}
