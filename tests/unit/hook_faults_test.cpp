// SPDX-License-Identifier: GPL-2.0-only
// Every single allocation of every hook call fails once: the call returns, nothing leaks, and the
// next call works.
#include "tests/unit/store_access.h"

#include "hash/rule_table.h"

#include <array>

namespace {

using gpon::test::apply;

class hook_faults : public loaded_module {
protected:
    hook_faults()
    {
        gpon::test::create_bridge(1);
        port(0x101, 1, 0x101);
        gpon_raw_gemctp ctp = {};
        ctp.instID = 1;
        ctp.portID = 1025;
        ctp.direction = 3;
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, 1, &ctp);
        const gpon_raw_gemiw gem_iw = {.instID = 0x11, .gemCTPInstID = 1};
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, 0x11, &gem_iw);
        gpon_raw_mapper mapper = {};
        mapper.instID = 1;
        for (u16& pointer : mapper.pbit_GemIWTP)
            pointer = 0x11;
        mapper.unmark_frame_opt = 1;
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mapper, 1, &mapper);
        port(0x1001, 3, 1);
        const gpon_raw_vtfd filter = {
            .instID = 0x1001, .vlanFilterList = {}, .forwardOperation = 0, .vlanFilterNums = 0};
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::vtfd, 0x1001, &filter);
        gpon::host::hook(4, 1, nullptr);
        // Nodes that the links above replaced are freed at a time of their own.
        gpon::host::rcu_settle();
    }

    void port(u16 id, u8 tp_type, u16 pointer)
    {
        const gpon_raw_mbpcd raw = {
            .instID = id, .bridgeID = 1, .tpType = tp_type, .tpPointer = pointer};
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, id, &raw);
    }

    int call(u32 kind)
    {
        sk_buff packet;
        packet.data = frame.data();
        packet.bytes = static_cast<u32>(frame.size());
        packet.port_word = 1 << 4;
        packet.gemport_id = 1025;
        const auto returned = gpon::host::hook(kind, 0, &packet);
        EXPECT_EQ(returned->ret, 2);
        return returned->api_result;
    }

    std::array<u8, 60> frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 8};
};

TEST_F(hook_faults, every_failed_allocation_is_handled_and_leaves_nothing)
{
    for (const u32 kind : {0u, 1u, 2u, 3u}) {
        u64 nth = 1;
        for (;; ++nth) {
            gpon_hash_clean_all_safe();
            const auto before = gpon::host::memory();
            gpon::host::arm_fault(gpon::host::fault::alloc, nth);
            const int result = call(kind);
            const bool fired = gpon::host::fault_fired(gpon::host::fault::alloc);
            gpon::host::disarm_faults();
            EXPECT_TRUE(result == 0 || result == 1);
            gpon_hash_clean_all_safe();
            EXPECT_EQ(gpon::host::memory().live_blocks, before.live_blocks);
            if (!fired) {
                EXPECT_EQ(result, 0);
                break;
            }
            EXPECT_EQ(call(kind), 0) << "kind " << kind << " after allocation " << nth;
        }
        EXPECT_GT(nth, 3u) << "a learnt rule alone takes three";
    }
}

TEST_F(hook_faults, failed_allocations_of_a_replay_do_not_fail_the_packet)
{
    gpon::host::set_remembered_outcomes(false);
    ASSERT_EQ(call(1), 0);
    for (u64 nth = 1;; ++nth) {
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        EXPECT_EQ(call(1), 0);
        if (!gpon::host::fault_fired(gpon::host::fault::alloc))
            break;
    }
    gpon::host::disarm_faults();
    gpon::host::set_remembered_outcomes(true);
}

} // namespace
