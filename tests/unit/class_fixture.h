/* SPDX-License-Identifier: GPL-2.0-only */
/* A frame for the forward functions, and short forms to provision the classes. */
#pragma once

#include "tests/unit/store_access.h"

#include <array>

#include "me_class/forward_step.h"

/* The module with one untagged frame. */
class packet_fixture : public loaded_module {
protected:
    packet_fixture()
    {
        skb.data = frame.data();
        skb.bytes = static_cast<u32>(frame.size());
    }

    std::array<u8, 60> frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 8};
    sk_buff skb;
    gpon_walk_result result = {};
};

/* Attribute handlers, forward functions and look-ups of the classes, called directly. */
class class_fixture : public packet_fixture {
protected:
    static constexpr u8 CREATE = ZR_OMCI_MSG_TYPE_CREAT;

    template <typename Raw> static void create(me_class class_id, const Raw& raw, u16 mask = 0xffff)
    {
        EXPECT_EQ(gpon::test::apply(CREATE, class_id, raw.instID, &raw, mask), 0);
    }

    static void create_mapper(u16 id)
    {
        gpon_raw_mapper raw = {};
        raw.instID = id;
        create(me_class::mapper, raw);
    }

    static void create_gem_iw(u16 id, u16 ctp = 1)
    {
        create(me_class::gemiw, gpon_raw_gemiw{.instID = id, .gemCTPInstID = ctp});
    }

    static void create_multicast_gem_iw(u16 id, u16 ctp = 1)
    {
        create(me_class::multigemiw, gpon_raw_multigemiw{.instID = id, .GemCTPInstID = ctp});
    }

    static void create_port(u16 id, u8 tp_type, u16 pointer = 1)
    {
        create(
            me_class::mbpcd,
            gpon_raw_mbpcd{.instID = id, .bridgeID = 7, .tpType = tp_type, .tpPointer = pointer});
    }

    /* A filter that lets every frame pass. */
    static void create_filter(u16 id)
    {
        create(me_class::vtfd,
               gpon_raw_vtfd{
                   .instID = id, .vlanFilterList = {}, .forwardOperation = 0, .vlanFilterNums = 0});
    }

    /* Instance 1 of every class that has a forward function, but for the bridge. */
    static void create_one_of_each()
    {
        create_mapper(1);
        create_gem_iw(1);
        create_multicast_gem_iw(1);
        create(me_class::pptp, gpon_raw_pptp{.instID = 1});
        create(me_class::veip, gpon_raw_veip{.instID = 1});
        gpon_raw_gemctp ctp = {};
        ctp.instID = 1;
        ctp.portID = 5;
        ctp.direction = 3;
        create(me_class::gemctp, ctp);
    }

    /* Ties an operation of class 78 or 171 to an instance; no command can. */
    static void link(me_class holder_class, u16 holder, me_class class_id, u16 id)
    {
        gpon_me_inst* inst =
            gpon::find_inst(gpon::mirrored_class(holder_class)->list_info->head, holder);
        gpon_me_related_info* row = gpon::find_row(inst->related, class_id);
        gpon::store_related_id(row->related_ids[0], {.instExist = 1, .instId = id});
    }

    using forward_function = i32 (*)(sk_buff*, const gpon_fwd_info*, gpon_walk_result*);

    i32 forward(forward_function function, me_class class_id, u16 id, u16 fwd_flag)
    {
        const gpon_fwd_info info = {class_id, id, fwd_flag};
        const gpon::rcu_reader reader;
        gpon::test::forget_found(result);
        return function(&skb, &info, &result);
    }
};
