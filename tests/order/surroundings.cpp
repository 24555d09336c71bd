// SPDX-License-Identifier: GPL-2.0-only
// What classifies a frame and is not under test here: walk, replay, rule table, events, memory.
#include <cstdlib>

#include "tests/order/frame.h"

#include "base/memory.h"
#include "base/switches.h"
#include "hash/rule_use.h"
#include "me_class/gemctp_gem_port_network_ctp.h"
#include "me_class/gemiw_gem_interworking_tp.h"
#include "me_class/mbsp_mac_bridge_service_profile.h"
#include "me_class/multigemiw_multicast_gem_interworking_tp.h"
#include "me_class/pptp_ethernet_uni.h"
#include "me_class/veip_virtual_ethernet_interface_point.h"
#include "pkt/frame_events.h"
#include "pkt/header.h"
#include "pkt/rule.h"
#include "pkt/walk.h"

u32 gponDebugLevel = 0;
bool gpon_host_remembers_outcomes = true;
unsigned int tracepoints_on = 0;
const unsigned int skb_flag_word_offset = offsetof(sk_buff, flag_word);

u64 order::store_state = 0;

namespace {

u16 port_now(const sk_buff& skb)
{
    return static_cast<u16>(skb.flow * order::PORTS_OF_A_FLOW +
                            static_cast<u16>(gpon::load_relaxed(order::store_state)));
}

} // namespace

gpon_frame_bytes skb_frame(const sk_buff* skb)
{
    return {skb->bytes.data(), skb->bytes.size()};
}

unsigned int skb_port_word(const sk_buff*)
{
    return 0;
}

unsigned short skb_multicast(const sk_buff*)
{
    return 0;
}

unsigned short skb_gemport_id(const sk_buff* skb)
{
    return skb->gemport_id;
}

// The platform finds a queue for each frame.
int (*gpon_queue_mapping_hook)(sk_buff*) = [](sk_buff*) { return 0; };

void skb_set_gemport_id(sk_buff* skb, unsigned short gemport_id)
{
    skb->gemport_id = gemport_id;
}

i32 gpon::report_missing_queue(const sk_buff*, bool)
{
    std::abort();
}

i32 gpon_pkt_handle_after_fwd_done(sk_buff* skb, u16, const gpon_walk_result* result)
{
    return gpon::choose_queue(skb, result->gemport_id);
}

// The path of the frame in place of its port word, for the look-up.
i32 gpon_pkt_form_info(const sk_buff* skb, gpon_pkt_info* info)
{
    *info = {};
    info->port_word = static_cast<u32>(skb->path);
    return 0;
}

u16* get_mbsp_list_inst_id(u32* count)
{
    static u16 bridge = 1;
    *count = 1;
    return &bridge;
}

// A walk reads the store without the lock.
i32 gpon_pkt_general_forward(sk_buff* skb, const gpon_fwd_info*, gpon_walk_result*)
{
    skb->gemport_id = port_now(*skb);
    return -1;
}

// So does a replay.
bool gpon_pkt_quick_forward(sk_buff* skb, gpon_fwd_info*, gpon_walk_result* result)
{
    result->gemport_id = port_now(*skb);
    return skb->path == order::path::replay;
}

// The look-up of a rule takes the lock.
i32 gpon::lookup_rule(const gpon_pkt_info& info, u16, gpon_rule_trace*)
{
    const bh_lock lock(gpon_hash_lock);
    return info.port_word == static_cast<u32>(order::path::failing_walk) ? -1 : 0;
}

gpon::rule_key gpon::rule_key::of(const gpon_pkt_info&, u16)
{
    return {};
}

// No walk succeeds.
i32 gpon::learn_rule(const gpon_pkt_info&, u16, const gpon_rule_trace&, u64)
{
    std::abort();
}

// No event and no message is on.
void gpon::send_frame_event(gpon_tracepoint, const sk_buff*, u16, gpon_frame_end, u16, bool)
{
    std::abort();
}

extern "C" void gpon_log(u32, const char*, ...)
{
    std::abort();
}

extern "C" void gpon_log_packet(const sk_buff*, log_level, const char*, ...)
{
    std::abort();
}

// No frame takes another direction than that towards the ANI.
i32 gem_ctp_get_inst_id_by_gemport_id(u16, u16*)
{
    std::abort();
}

i32 gem_get_inst_id_by_gem_ctp(u16, u16*)
{
    std::abort();
}

i32 multi_gem_get_inst_id_by_gem_ctp(u16, u16*)
{
    std::abort();
}

i32 pptp_get_inst_id_by_port_id(u8, u16*)
{
    std::abort();
}

i32 veip_get_inst_id_by_port_id(u8, u16*)
{
    std::abort();
}

// Memory, RCU and the uses of rules are not part of the protocol.
void kfree(const void*) {}
void packet_memory_begin(packet_memory*) {}
void packet_memory_end(packet_memory*) {}
void rcu_read_lock() {}
void rcu_read_unlock() {}

gpon_flow_rule* gpon::find_rule(std::span<const u8>)
{
    return nullptr;
}

void gpon::take_place(const outcome&, u16, gpon_flow_rule*) {}
void gpon::add_failed_use(size_t) {}
void count_use(unsigned long) {}
void count_many(gpon_counter, unsigned long) {}
