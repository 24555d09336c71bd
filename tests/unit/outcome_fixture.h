/* SPDX-License-Identifier: GPL-2.0-only */
/* Frames whose rules lead to numbered GEM ports, and whether their outcome is remembered. */
#pragma once

#include "tests/unit/store_access.h"

#include <vector>

#include "hash/crc32.h"
#include "hash/rule_table.h"
#include "pkt/header.h"
#include "pkt/outcome.h"
#include "pkt/rule.h"

class outcome : public loaded_module {
protected:
    using bytes = std::vector<u8>;

    // CTP n has GEM port 1000 + n, so the port identifies the steps of a rule.
    static constexpr u16 CTPS = 8;

    outcome()
    {
        for (u16 id = 1; id <= CTPS; ++id)
            set_ctp(id, port_of(id));
        gpon::host::hook(GPON_API_SWITCH, 1, nullptr);
    }

    ~outcome() override { gpon::host::set_remembered_outcomes(true); }

    static u16 port_of(u16 ctp) { return static_cast<u16>(1000 + ctp); }

    // As a command sets it, without the flush that a command begins with.
    static void set_ctp(u16 id, u16 port)
    {
        gpon_raw_gemctp raw = {};
        raw.instID = id;
        raw.portID = port;
        raw.direction = 3;
        gpon_me_cmd cmd = gpon::test::command(ZR_OMCI_MSG_TYPE_SET, me_class::gemctp, id, &raw);
        EXPECT_EQ(gpon_flow_me_general_set(gpon_flow_me_get_by_classid(me_class::gemctp), &cmd), 0);
    }

    static bytes frame(size_t tags, size_t length = 2000, u8 station = 1)
    {
        bytes made(length);
        made[11] = station;
        size_t at = 12;
        for (size_t i = 0; i < tags; ++i, at += 4)
            if (at + 4 <= length) {
                made[at] = 0x81;
                made[at + 3] = static_cast<u8>(i + 1);
            }
        return made;
    }

    static sk_buff packet_of(const bytes& frame)
    {
        sk_buff skb;
        skb.data = frame.data();
        skb.bytes = static_cast<u32>(frame.size());
        skb.gemport_id = 9;
        return skb;
    }

    static void learn(const bytes& frame, u16 ctp, u16 fwd_flag = UP_ANI)
    {
        const sk_buff skb = packet_of(frame);
        gpon_walk_result walked = {};
        walked.trace.step[0] = {me_class::gemctp, ctp};
        EXPECT_EQ(gpon_rule_generate_trace(&skb, fwd_flag, &walked), 0);
    }

    struct sent_frame {
        int result;
        u16 port;
        uint64_t allocations;
    };

    static sent_frame send(const bytes& frame, u16 fwd_flag = UP_ANI, u32 flag_word = 0)
    {
        sk_buff skb = packet_of(frame);
        skb.flag_word = flag_word;
        const uint64_t before = gpon::host::memory().allocations;
        const int result = gpon_pkt_general_flow_func(&skb, fwd_flag);
        return {result, skb.gemport_id, gpon::host::memory().allocations - before};
    }

    static bool is_remembered(const bytes& frame, u16 fwd_flag = UP_ANI)
    {
        return send(frame, fwd_flag).allocations == 0;
    }

    // The frame's rule is learnt and replayed once.
    static void make_known(const bytes& frame, u16 ctp)
    {
        learn(frame, ctp);
        EXPECT_EQ(send(frame).port, port_of(ctp));
        EXPECT_TRUE(is_remembered(frame));
    }

    static u32 hash_of(const bytes& frame, u16 fwd_flag)
    {
        const sk_buff skb = packet_of(frame);
        gpon_pkt_info info;
        u8 key[GPON_RULE_KEY_BUFFER] = {};
        u16 length = 0;
        EXPECT_EQ(gpon_pkt_form_info(&skb, &info), 0);
        gpon_rule_generate_key(&info, fwd_flag, key, &length);
        return gpon_hash_calc_key(key, length);
    }
};
