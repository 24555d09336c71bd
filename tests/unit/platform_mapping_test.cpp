// SPDX-License-Identifier: GPL-2.0-only
// The results of the platform's two functions decide where the engine does not choose itself.
#include "tests/unit/store_access.h"

namespace {

constexpr u8 short_frame[] = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 8, 0};

class platform_mapping : public loaded_module {
protected:
    // One GEM port behind one bridge, which everything may pass.
    static void build_line()
    {
        using gpon::test::apply;
        gpon_raw_gemctp ctp = {};
        ctp.instID = 1;
        ctp.portID = 1025;
        ctp.direction = 3;
        const gpon_raw_gemiw gem_iw = {.instID = 0x11, .gemCTPInstID = 1};
        const gpon_raw_vtfd filter = {
            .instID = 0x1001, .vlanFilterList = {}, .forwardOperation = 0, .vlanFilterNums = 0};
        gpon::test::create_bridge(1);
        gpon::test::create_port(0x101, 1, 1, 0x101);
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, 1, &ctp);
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, 0x11, &gem_iw);
        gpon::test::create_port(0x1001, 1, 5, 0x11);
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::vtfd, 0x1001, &filter);
    }

    static void enable(bool on) { gpon::host::hook(GPON_API_SWITCH, on, nullptr); }

    static int result(u32 kind)
    {
        sk_buff packet;
        packet.data = short_frame;
        packet.bytes = sizeof(short_frame);
        packet.port_word = 1 << 4;
        return gpon::host::hook(kind, 0, &packet)->api_result;
    }
};

TEST_F(platform_mapping, fails_an_upstream_packet_of_a_disabled_engine_only_by_minus_one)
{
    enable(false);
    for (const int chosen : {-2, 0, 1, 7}) {
        gpon::host::set_mapping(chosen);
        EXPECT_EQ(result(GPON_API_UP_ANI), 0) << chosen;
    }
    gpon::host::set_mapping(-1);
    EXPECT_EQ(result(GPON_API_UP_ANI), 1);
    for (const u32 kind : {0u, 2u, 3u})
        EXPECT_EQ(result(kind), 0) << "not asked for kind " << kind;
    gpon::host::set_mapping(std::nullopt);
    EXPECT_EQ(result(GPON_API_UP_ANI), 0);
}

TEST_F(platform_mapping, fails_a_packet_that_leaves_upstream_unless_that_of_queues_returns_0)
{
    build_line();
    enable(true);
    gpon::host::set_queue_mapping(0);
    EXPECT_EQ(result(GPON_API_UP_ANI), 0);
    for (const int chosen : {-1, 1}) {
        gpon::host::set_queue_mapping(chosen);
        EXPECT_EQ(result(GPON_API_UP_ANI), 1) << chosen;
    }
    gpon::host::set_queue_mapping(std::nullopt);
    EXPECT_EQ(result(GPON_API_UP_ANI), 1);
    EXPECT_EQ(result(GPON_API_DOWN_UNI), 0) << "only packets that leave upstream get a queue";
}

} // namespace
