// SPDX-License-Identifier: GPL-2.0-only
// Frames through the operations of a line. Rows in hexadecimal are those of docs/tagging.md:
// untagged to VLAN 100, VLAN 5 to VLAN 200 with the priority copied.
#include <gtest/gtest.h>

#include "tests/tagging/rows.h"
#include "tests/tool/parsing.h"
#include "tool/model/carry.h"
#include "tool/model/tag_places.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

constexpr me_id uni_1{me_class::pptp, 0x0101};
constexpr me_id port_ani{me_class::mbpcd, 0x1001};

// A UNI, a GEM port and a filter for VLANs 100 and 200.
const std::string line = "load\n"
                         "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3\n"
                         "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
                         "me create MAC_BRIDGE_SERVICE_PROFILE 1\n"
                         "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 "
                         "tpPointer=0x0101\n"
                         "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=5 "
                         "tpPointer=0x11\n"
                         "me create VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=100,200 "
                         "forwardOperation=0x10 vlanFilterNums=2\n";

const std::string rows = "row=f8000000f8000000000f000000000324\n"
                         "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080644\n";

std::string operation(const std::string& association)
{
    return "me create VLAN_TAG_EXTEND_OPERATE 1\n"
           "tagging VLAN_TAG_EXTEND_OPERATE 1 rows=default " +
           association + "\ntagging VLAN_TAG_EXTEND_OPERATE 1 " + rows;
}

line_model model_of_text(const std::string& text)
{
    return final_entities(parse_good(text));
}

TEST(carry, a_frame_from_the_uni_passes_the_operation_of_the_uni)
{
    const line_model model = model_of_text(line + operation("association=2 associated=0x0101"));
    const carried_frame done = carry_from_uni(model, uni_1, frame_with({}));
    EXPECT_EQ(tags_text(done.frame), "VLAN 100 priority 0");
    ASSERT_EQ(done.steps.size(), 1u);
    EXPECT_EQ(to_text(done.steps[0].operation), "VLAN_TAG_EXTEND_OPERATE 0x0001");
    EXPECT_EQ(done.steps[0].at, uni_1);
    EXPECT_EQ(done.steps[0].row, "untagged: add VLAN 100 with priority 0, TPID 0x8100");
    EXPECT_EQ(tags_text(done.steps[0].before), "untagged");
    EXPECT_TRUE(done.gaps.empty());
    const carried_frame tagged = carry_from_uni(model, uni_1, frame_with({vlan(5, 3)}));
    EXPECT_EQ(tags_text(tagged.frame), "VLAN 200 priority 3");
    // Nothing more happens towards the ANI.
    const carried_frame ani = carry_to_ani(model, uni_1, tagged.frame);
    EXPECT_EQ(ani.frame, tagged.frame);
    EXPECT_TRUE(ani.steps.empty());
}

TEST(carry, a_frame_to_the_uni_passes_the_inverse)
{
    const line_model model = model_of_text(line + operation("association=2 associated=0x0101"));
    EXPECT_EQ(tags_text(carry_to_uni(model, uni_1, frame_with({vlan(100)})).frame), "untagged");
    EXPECT_EQ(tags_text(carry_to_uni(model, uni_1, frame_with({vlan(200, 3)})).frame),
              "VLAN 5 priority 3");
}

TEST(carry, operations_of_bridge_ports_and_gem_points_act_behind_the_bridge)
{
    for (const char* association :
         {"association=0 associated=0x0101", "association=0 associated=0x1001",
          "association=5 associated=0x11"}) {
        const line_model model = model_of_text(line + operation(association));
        EXPECT_TRUE(carry_from_uni(model, uni_1, frame_with({})).steps.empty()) << association;
        EXPECT_EQ(tags_text(carry_to_ani(model, uni_1, frame_with({})).frame),
                  "VLAN 100 priority 0")
            << association;
    }
}

TEST(carry, a_mapper_has_operations_too)
{
    const line_model model =
        model_of_text(line +
                      "me create 802_1P_MAPPER 1 tpPointer=0xffff unmark_frame_opt=1 "
                      "pbit_GemIWTP=0x11,0x11,0x11,0x11,0x11,0x11,0x11,0x11\n"
                      "me set MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 tpPointer=1\n" +
                      operation("association=1 associated=1"));
    const carried_frame done = carry_to_ani(model, uni_1, frame_with({vlan(5, 2)}));
    EXPECT_EQ(tags_text(done.frame), "VLAN 200 priority 2");
    EXPECT_EQ(to_text(done.steps.at(0).at), "802_1P_MAPPER 0x0001");
    const carried_frame down = carry_from_ani(
        model, {{me_class::gemiw, 0x11}, {me_class::mapper, 1}, port_ani}, done.frame);
    EXPECT_EQ(tags_text(down.frame), "VLAN 5 priority 2");
}

// VLAN 7 passes the table unchanged, and the filter does not accept it: another port would have to.
TEST(carry, an_operation_whose_result_its_port_refuses_is_not_applied)
{
    const line_model model = model_of_text(line + operation("association=0 associated=0x1001"));
    const carried_frame done = carry_to_ani(model, uni_1, frame_with({vlan(7)}));
    EXPECT_EQ(tags_text(done.frame), "VLAN 7 priority 0");
    EXPECT_TRUE(done.steps.empty());
    ASSERT_EQ(done.gaps.size(), 1u);
    EXPECT_EQ(done.gaps[0].why,
              "MAC_BRIDGE_PORT_CON_DATA 0x1001 does not accept the frame that it produces");
}

TEST(carry, a_row_may_discard_the_frame)
{
    const line_model model =
        model_of_text(line + operation("association=2 associated=0x0101") +
                      "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000e8000000c00f0000000f0000\n");
    const carried_frame done = carry_from_uni(model, uni_1, frame_with({vlan(7)}));
    EXPECT_TRUE(done.discarded);
    EXPECT_EQ(done.steps.at(0).row, "other single-tagged: discard");
}

TEST(carry, what_is_not_known_is_a_gap)
{
    const auto gap = [](const std::string& text) {
        const carried_frame done =
            carry_from_uni(model_of_text(line + text), uni_1, frame_with({}));
        EXPECT_EQ(tags_text(done.frame), "untagged");
        return done.gaps.size() == 1 ? done.gaps[0].why : "no gap";
    };
    EXPECT_EQ(gap("me create VLAN_TAG_EXTEND_OPERATE 1\n"), "its association is not known");
    EXPECT_EQ(gap("tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101\n"),
              "its table is not known");
    EXPECT_EQ(gap("tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0109 "
                  "rows=default\n"),
              "PPTP_ETHERNET_UNI 0x0109 does not exist");
    EXPECT_EQ(gap("tagging VLAN_TAG_EXTEND_OPERATE 1 association=3 associated=1 rows=default\n"),
              "its association is of a kind that is not mirrored (IP host config data)");
    EXPECT_EQ(gap("me create VLAN_TAG_OPERATE 0x0101\n"), "its attributes are not known");
    EXPECT_EQ(gap("me create VLAN_TAG_OPERATE 0x0999\n"), "no UNI or bridge port has its id");
}

TEST(carry, class_78_without_association_belongs_to_the_uni_with_its_id)
{
    const line_model model =
        model_of_text(line + "tagging VLAN_TAG_OPERATE 0x0101 upstream_mode=1 upstream_tci=100 "
                             "downstream_mode=1 association=0\n");
    EXPECT_EQ(tags_text(carry_from_uni(model, uni_1, frame_with({})).frame), "VLAN 100 priority 0");
    EXPECT_EQ(tags_text(carry_to_uni(model, uni_1, frame_with({vlan(100)})).frame), "untagged");
}

// A VEIP with a port in each of two bridges. VLAN 5 becomes VLAN 100 at the port of bridge 1; VLAN
// 6 becomes VLAN 300 at the ANI side of bridge 2.
const std::string two_bridges =
    "load\n"
    "me create GEM_PORT_CTP 1 portID=1025 direction=3\n"
    "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
    "me create MAC_BRIDGE_SERVICE_PROFILE 1\n"
    "me create MAC_BRIDGE_SERVICE_PROFILE 2\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=11 tpPointer=0x0603\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x0102 bridgeID=2 tpType=11 tpPointer=0x0603\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=5 tpPointer=0x11\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x1002 bridgeID=2 tpType=5 tpPointer=0x11\n"
    "me create VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=100 forwardOperation=0x10 "
    "vlanFilterNums=1\n"
    "me create VLAN_TAG_FILTER_DATA 0x1002 vlanFilterList=300 forwardOperation=0x10 "
    "vlanFilterNums=1\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 1 association=0 associated=0x0101 rows=default\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080324\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 2 association=0 associated=0x1002 rows=default\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 2 row=f800000080030000400f000000080964\n";

TEST(carry, of_two_bridges_the_one_that_accepts_the_frame_decides)
{
    const line_model model = model_of_text(two_bridges);
    constexpr me_id veip{me_class::veip, 0x0603};
    const carried_frame first = carry_to_ani(model, veip, frame_with({vlan(5)}));
    EXPECT_EQ(tags_text(first.frame), "VLAN 100 priority 0");
    EXPECT_EQ(first.steps.size(), 1u);
    const carried_frame second = carry_to_ani(model, veip, frame_with({vlan(6)}));
    EXPECT_EQ(tags_text(second.frame), "VLAN 300 priority 0");
    ASSERT_EQ(second.steps.size(), 1u);
    EXPECT_EQ(to_text(second.steps[0].operation), "VLAN_TAG_EXTEND_OPERATE 0x0002");
    const carried_frame none = carry_to_ani(model, veip, frame_with({vlan(7)}));
    EXPECT_EQ(tags_text(none.frame), "VLAN 7 priority 0");
    EXPECT_TRUE(none.steps.empty());
    ASSERT_EQ(none.gaps.size(), 2u);
    EXPECT_EQ(none.gaps[0].why, "no port behind MAC_BRIDGE_PORT_CON_DATA 0x0101 accepts the frame");
}

// Two ports towards the ANI, each with an operation that discards what it does not translate: VLAN
// 5 to 100 at port 0x1001, VLAN 6 to 200 at port 0x1002.
TEST(carry, a_port_that_discards_leaves_the_frame_to_the_next_one)
{
    const std::string discard = " row=f8000000e8000000c00f0000000f0000\n";
    const line_model model = model_of_text(
        line +
        "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 vlanFilterList=100 forwardOperation=0x10 "
        "vlanFilterNums=1\n"
        "me create MAC_BRIDGE_PORT_CON_DATA 0x1002 bridgeID=1 tpType=5 tpPointer=0x11\n"
        "me create VLAN_TAG_FILTER_DATA 0x1002 vlanFilterList=200 forwardOperation=0x10 "
        "vlanFilterNums=1\n"
        "tagging VLAN_TAG_EXTEND_OPERATE 1 association=0 associated=0x1001 rows=default "
        "row=f800000080028000400f000000080324\n"
        "tagging VLAN_TAG_EXTEND_OPERATE 1" +
        discard +
        "tagging VLAN_TAG_EXTEND_OPERATE 2 association=0 associated=0x1002 rows=default "
        "row=f800000080030000400f000000080644\n"
        "tagging VLAN_TAG_EXTEND_OPERATE 2" +
        discard);
    const carried_frame second = carry_to_ani(model, uni_1, frame_with({vlan(6)}));
    EXPECT_EQ(tags_text(second.frame), "VLAN 200 priority 0");
    EXPECT_FALSE(second.discarded);
    EXPECT_EQ(tags_text(carry_to_ani(model, uni_1, frame_with({vlan(5)})).frame),
              "VLAN 100 priority 0");
    const carried_frame none = carry_to_ani(model, uni_1, frame_with({vlan(7)}));
    EXPECT_TRUE(none.discarded);
    EXPECT_EQ(none.steps.at(0).row, "other single-tagged: discard");
}

TEST(carry, a_frame_to_a_uni_passes_only_the_port_of_its_bridge)
{
    const line_model model = model_of_text(two_bridges);
    constexpr me_id port_2{me_class::mbpcd, 0x1002};
    const auto by_bridge_2 = carry_to_unis(model, {port_2}, frame_with({vlan(100)}));
    ASSERT_EQ(by_bridge_2.size(), 1u);
    EXPECT_EQ(tags_text(by_bridge_2[0].carried.frame), "VLAN 100 priority 0");
    const auto by_bridge_1 = carry_to_unis(model, {port_ani}, frame_with({vlan(100)}));
    ASSERT_EQ(by_bridge_1.size(), 1u);
    EXPECT_EQ(tags_text(by_bridge_1[0].carried.frame), "VLAN 5 priority 0");
}

TEST(carry, facts_end_with_their_instance)
{
    const std::string text = line + operation("association=2 associated=0x0101");
    EXPECT_EQ(model_of_text(text).tag_operations().size(), 1u);
    EXPECT_TRUE(
        model_of_text(text + "me delete VLAN_TAG_EXTEND_OPERATE 1\n").tag_operations().empty());
    EXPECT_TRUE(model_of_text(text + "clean\n").tag_operations().empty());
    const line_model again = model_of_text(text + "me create VLAN_TAG_EXTEND_OPERATE 1\n");
    EXPECT_EQ(again.operation({me_class::evtocd, 1}), nullptr);
    const line_model set = model_of_text(text + "me set VLAN_TAG_EXTEND_OPERATE 1\n");
    EXPECT_NE(set.operation({me_class::evtocd, 1}), nullptr);
}

TEST(carry, operations_on_a_path_without_a_uni_are_not_applied)
{
    const line_model model = model_of_text(line + operation("association=0 associated=0x1001"));
    EXPECT_EQ(unapplied_operations(model, {port_ani}).size(), 1u);
    EXPECT_TRUE(unapplied_operations(model, {uni_1}).empty());
    EXPECT_EQ(unis_of(model, {me_class::mbsp, 1}), std::vector{uni_1});
}

} // namespace

} // namespace gponflow
