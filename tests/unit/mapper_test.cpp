// SPDX-License-Identifier: GPL-2.0-only
// The 802.1p mapper: its pointers, its forward function, its choice of a GEM interworking TP.
#include "tests/unit/class_fixture.h"

#include "me_class/classes.h"
#include "me_class/mapper_802_1p_service_profile.h"
#include "me_class/mapper_priority.h"

namespace {

using gpon::test::apply;
using gpon::test::command;
using gpon::test::recorded;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class mapper : public class_fixture {
protected:
    bool chooses(u16 gem_iw)
    {
        const op_info op = {gem_iw, 1, UP_ANI};
        return pbit_filter_handle(&skb, &op) == 0;
    }

    // The same for a frame with this tag. A TCI of 0 counts as no tag.
    bool chooses(u16 gem_iw, u16 tci)
    {
        frame[12] = 0x81;
        frame[13] = 0;
        frame[14] = static_cast<u8>(tci >> 8);
        frame[15] = static_cast<u8>(tci);
        return chooses(gem_iw);
    }
};

TEST_F(mapper, a_set_of_attribute_five_links_priority_three_only)
{
    for (u16 i = 0; i < 8; ++i)
        create_gem_iw(static_cast<u16>(0x10 + i));
    gpon_raw_mapper raw = {};
    raw.instID = 1;
    for (u16 i = 0; i < 8; ++i)
        raw.pbit_GemIWTP[i] = static_cast<u16>(0x10 + i);
    EXPECT_EQ(apply(ZR_OMCI_MSG_TYPE_SET, me_class::mapper, 1, &raw, 0x0800), 0);
    for (u16 i = 0; i < 8; ++i)
        EXPECT_EQ(recorded(me_class::gemiw, static_cast<u16>(0x10 + i), me_class::mapper).size(),
                  i == 3 ? 1u : 0u)
            << i;
}

TEST_F(mapper, reports_nothing_without_any_pointer)
{
    create_gem_iw(0xffff);
    gpon_raw_mapper raw = {};
    raw.instID = 1;
    for (u16& pointer : raw.pbit_GemIWTP)
        pointer = 0xffff;
    gpon_me_cmd cmd = command(CREATE, me_class::mapper, 1, &raw);
    gponDebugLevel = 4;
    log_lines();
    EXPECT_EQ(mapper_attr_gem_iw_tp_pbit(&cmd), 0);
    EXPECT_THAT(log_lines(), ElementsAre("***TRACE***[mapper_attr_gem_iw_tp_pbit][0]: Enter"));
    EXPECT_THAT(recorded(me_class::gemiw, 0xffff, me_class::mapper), IsEmpty());
}

TEST_F(mapper, reports_nothing_after_the_first_failed_link)
{
    for (const u16 id : u16s{0x11, 0x12, 0x13})
        create_gem_iw(id);
    gpon_raw_mapper raw = {};
    raw.instID = 1;
    raw.pbit_GemIWTP[0] = 0x11;
    raw.pbit_GemIWTP[1] = 0x12;
    raw.pbit_GemIWTP[2] = 0x13;
    gpon_me_cmd cmd = command(CREATE, me_class::mapper, 1, &raw, 0x7000);
    gponDebugLevel = 1;
    log_lines();
    gpon::host::arm_fault(gpon::host::fault::alloc, 2);
    EXPECT_EQ(mapper_attr_gem_iw_tp_pbit(&cmd), -1);
    EXPECT_THAT(log_lines(), Contains("***ERROR***[mapper_attr_gem_iw_tp_pbit][0]: "
                                      "gpon_flow_me_general_update fail,index = 1."));
    EXPECT_THAT(recorded(me_class::gemiw, 0x11, me_class::mapper), ElementsAre(1));
    EXPECT_THAT(recorded(me_class::gemiw, 0x12, me_class::mapper), IsEmpty());
    EXPECT_THAT(recorded(me_class::gemiw, 0x13, me_class::mapper), IsEmpty());
}

TEST_F(mapper, links_only_to_pptp_and_veip)
{
    gpon_raw_mapper raw = {};
    raw.instID = 1;
    raw.tpPointer = 0x101;
    for (u16 type = 0; type <= 12; ++type) {
        raw.tpType = static_cast<u8>(type);
        gpon_me_cmd cmd = command(CREATE, me_class::mapper, 1, &raw);
        EXPECT_EQ(mapper_attr_tp_type_op(&cmd), type == 1 || type == 7 ? 0 : -1) << type;
    }
    EXPECT_THAT(recorded(me_class::pptp, 0x101, me_class::mapper), ElementsAre(1));
    EXPECT_THAT(recorded(me_class::veip, 0x101, me_class::mapper), ElementsAre(1));
}

TEST_F(mapper, writes_the_turning_point_only_upstream_from_the_uni)
{
    gpon_raw_mapper raw = {};
    raw.instID = 0x77;
    create(me_class::mapper, raw);
    for (const u16 fwd_flag : u16s{UP_ANI, DOWN_ANI, DOWN_UNI, UP_UNI}) {
        EXPECT_EQ(result.turn_inst_id, 0);
        EXPECT_EQ(forward(mapper_forward, me_class::mapper, 0x77, fwd_flag), 0);
        EXPECT_EQ(result.ret_val, FLOW_PKT_FORWARD);
    }
    EXPECT_EQ(result.turn_inst_id, 0x77);
}

TEST_F(mapper, selects_a_gem_port_only_upstream)
{
    gpon_raw_mapper raw = {};
    raw.instID = 1;
    create(me_class::mapper, raw);
    gponDebugLevel = 1;
    log_lines();
    for (const u16 fwd_flag : u16s{UP_UNI, DOWN_ANI, DOWN_UNI}) {
        const op_info op = {1, 1, fwd_flag};
        EXPECT_EQ(pbit_filter_handle(&skb, &op), -1);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***[pbit_filter_handle][0]: op_info->fwd_flag(" +
                                std::to_string(fwd_flag) + "): Fail\r"));
    }
}

TEST_F(mapper, each_dscp_reads_its_own_three_bits_of_the_map)
{
    for (u16 i = 1; i <= 2; ++i)
        create_gem_iw(i);
    for (u8 wanted = 0; wanted < 64; ++wanted) {
        gpon_raw_mapper raw = {};
        raw.instID = 1;
        raw.pbit_GemIWTP[0] = 1;
        raw.pbit_GemIWTP[5] = 2;
        for (int bit = 0; bit < 3; ++bit)
            if (5 & (4 >> bit))
                raw.dscp2pbitMap[(3 * wanted + bit) / 8] |=
                    static_cast<u8>(0x80 >> ((3 * wanted + bit) % 8));
        create(me_class::mapper, raw, 0);
        for (u8 dscp = 0; dscp < 64; ++dscp) {
            frame[12] = 0x00;
            frame[13] = 0x08;
            frame[14] = 0x45;
            frame[15] = static_cast<u8>(dscp << 2);
            EXPECT_TRUE(chooses(dscp == wanted ? 2 : 1)) << int{wanted} << ' ' << int{dscp};
        }
    }
}

TEST_F(mapper, reports_null_arguments)
{
    const op_info op = {1, 1, UP_ANI};
    gponDebugLevel = 1;
    EXPECT_EQ(pbit_filter_handle(nullptr, &op), -1);
    EXPECT_EQ(pbit_filter_handle(&skb, nullptr), -1);
    const std::string line = "***ERROR***[pbit_filter_handle][0]: Parameter is NULL: Fail\r";
    EXPECT_THAT(log_lines(), ElementsAre(line, line));
}

TEST_F(mapper, an_absent_mapper_fails_silently)
{
    gponDebugLevel = 3;
    EXPECT_FALSE(chooses(1));
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(mapper, chooses_by_the_priority_of_the_tag)
{
    gpon_raw_mapper raw = {};
    raw.instID = 1;
    for (u16 i = 0; i < 8; ++i)
        raw.pbit_GemIWTP[i] = static_cast<u16>(0x11 + i);
    raw.unmark_frame_opt = 1;
    raw.defaultPbit = 5;
    ASSERT_EQ(apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mapper, 1, &raw), 0);
    for (u16 priority = 0; priority < 8; ++priority)
        for (u16 gem_iw = 0x10; gem_iw <= 0x19; ++gem_iw)
            EXPECT_EQ(chooses(gem_iw, static_cast<u16>(priority << 13 | 1)),
                      gem_iw == 0x11 + priority);
    EXPECT_TRUE(chooses(0x16, 0)) << "an untagged frame by the default";
    EXPECT_FALSE(chooses(0x11, 0));
    raw.unmark_frame_opt = 2;
    ASSERT_EQ(apply(ZR_OMCI_MSG_TYPE_SET, me_class::mapper, 1, &raw), 0);
    EXPECT_FALSE(chooses(0x16, 0)) << "untagged frames are not mapped";
    raw.unmark_frame_opt = 1;
    // The word at the end of the record is the type of the termination point.
    raw.defaultPbit = 21;
    raw.tpType = 7;
    ASSERT_EQ(apply(ZR_OMCI_MSG_TYPE_SET, me_class::mapper, 1, &raw), 0);
    EXPECT_TRUE(chooses(7, 0)) << "the last word of the record";
    EXPECT_FALSE(chooses(0, 0));
    raw.defaultPbit = 255;
    ASSERT_EQ(apply(ZR_OMCI_MSG_TYPE_SET, me_class::mapper, 1, &raw), 0);
    EXPECT_FALSE(chooses(0, 0)) << "nothing lies behind the record";
}

} // namespace
