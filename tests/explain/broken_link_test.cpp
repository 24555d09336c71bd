// SPDX-License-Identifier: GPL-2.0-only
// Drops for lack of an instance or of a link to it: the pointer, its value and its target are
// named.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/explain/path_output.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

const std::string with_profile = "me create MAC_BRIDGE_SERVICE_PROFILE 1\n";
const std::string with_ctp = "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3\n";
const std::string with_gem_iw = "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n";
const std::string with_mapper = "me create 802_1P_MAPPER 1 tpPointer=0xffff "
                                "pbit_GemIWTP=0x11,0x11,0x11,0x11,0x11,0x11,0x11,0x11 "
                                "unmark_frame_opt=1\n";
const std::string with_uni = "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 "
                             "tpPointer=0x0101\n";
const std::string with_ani = "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=5 "
                             "tpPointer=0x11\n";
const std::string with_port_of_mapper =
    "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 "
    "tpPointer=1\n";
const std::string with_filter = "me create VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=100 "
                                "forwardOperation=0x10 vlanFilterNums=1\n";
// A port whose filter refuses VLAN 100, as deep as the port 0x1001.
const std::string with_refusing = "me create MAC_BRIDGE_PORT_CON_DATA 0x0002 bridgeID=1 tpType=5 "
                                  "tpPointer=0x22\n"
                                  "me create VLAN_TAG_FILTER_DATA 2 vlanFilterList=200 "
                                  "forwardOperation=0x10 vlanFilterNums=1\n";
// A multicast port leads no upstream frame on.
const std::string with_multicast = "me create MAC_BRIDGE_PORT_CON_DATA 0x0003 bridgeID=1 tpType=6 "
                                   "tpPointer=0x33\n";

struct broken_line {
    const char* name;
    std::string line; ///< after the command that enables the engine
    std::string reason;
    std::string attribute;
    unsigned source;
    bool downstream = false;
};

// The name of a test in place of the bytes of the structure.
void PrintTo(const broken_line& of, std::ostream* out)
{
    *out << of.name;
}

frame_path path_over(const broken_line& of)
{
    frame_query query;
    if (of.downstream)
        query.gem = 1025;
    else
        query.uni = 1;
    query.outer = query_tag{100, 0};
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    EXPECT_EQ(session.run(parse_good("load\nhook kind=switch param=1\n" + of.line), out),
              status_ok);
    return trace_frame(query, session);
}

class broken_link : public testing::TestWithParam<broken_line> {};

TEST_P(broken_link, is_the_fault)
{
    const frame_path path = path_over(GetParam());
    const verdict result = verdict_of(path);
    EXPECT_EQ(result.outcome, line_outcome::dropped);
    const std::string from = GetParam().downstream ? "GEM port 1025" : "UNI 1";
    EXPECT_EQ(result.sentence, "The frame from " + from + " is dropped: " + GetParam().reason +
                                   "; the frame has VLAN 100 priority 0.");
    ASSERT_EQ(result.faults.size(), 1u);
    EXPECT_EQ(result.faults[0].reason, GetParam().reason);
    ASSERT_FALSE(result.faults[0].sources.empty());
    EXPECT_EQ(result.faults[0].sources[0].attribute, GetParam().attribute);
    EXPECT_EQ(result.faults[0].sources[0].line, GetParam().source);
    std::ostringstream text;
    print_path(path, {.name = "a.scn"}, text);
    EXPECT_NE(text.str().find(" is written in a.scn:" + std::to_string(GetParam().source) + ".\n"),
              std::string::npos)
        << text.str();
}

INSTANTIATE_TEST_SUITE_P(
    of_a_line, broken_link,
    testing::Values(
        broken_line{"missing_ctp", with_profile + with_gem_iw + with_uni + with_ani + with_filter,
                    "GEM_INTERWORK_TP 0x0011 of bridge 1: gemCTPInstID 0x0001 names GEM_PORT_CTP "
                    "0x0001, which does not exist",
                    "gemCTPInstID", 4},
        broken_line{"deleted_ctp",
                    with_profile + with_ctp + with_gem_iw + with_uni + with_ani +
                        "me delete GEM_PORT_CTP 1\n",
                    "GEM_INTERWORK_TP 0x0011 of bridge 1: gemCTPInstID 0x0001 names GEM_PORT_CTP "
                    "0x0001, which does not exist",
                    "gemCTPInstID", 5},
        broken_line{"later_ctp", with_profile + with_gem_iw + with_ctp + with_uni + with_ani,
                    "GEM_INTERWORK_TP 0x0011 of bridge 1: gemCTPInstID 0x0001 names GEM_PORT_CTP "
                    "0x0001, but the link is not recorded",
                    "gemCTPInstID", 4},
        broken_line{
            "missing_gem_iw", with_profile + with_ctp + with_uni + with_ani + with_filter,
            "MAC_BRIDGE_PORT_CON_DATA 0x1001 of bridge 1: tpPointer 0x0011 (tpType 5) names "
            "GEM_INTERWORK_TP 0x0011, which does not exist",
            "tpPointer", 6},
        // The last command writes another attribute.
        broken_line{
            "rewritten_port",
            with_profile + with_uni + with_ani + with_filter +
                "me set MAC_BRIDGE_PORT_CON_DATA 0x1001 mask=0x8000 bridgeID=1 tpType=5 "
                "tpPointer=0x11\n",
            "MAC_BRIDGE_PORT_CON_DATA 0x1001 of bridge 1: tpPointer 0x0011 (tpType 5) names "
            "GEM_INTERWORK_TP 0x0011, which does not exist",
            "tpPointer", 5},
        broken_line{
            "missing_mapper", with_profile + with_uni + with_port_of_mapper + with_filter,
            "MAC_BRIDGE_PORT_CON_DATA 0x1001 of bridge 1: tpPointer 0x0001 (tpType 3) names "
            "802_1P_MAPPER 0x0001, which does not exist",
            "tpPointer", 5},
        broken_line{"empty_mapper",
                    with_profile + with_mapper + with_uni + with_port_of_mapper + with_filter,
                    "802_1P_MAPPER 0x0001 of bridge 1 has no GEM IW TP for priority 0 "
                    "(pbit_GemIWTP 0x0011, which does not exist)",
                    "pbit_GemIWTP[0]", 4},
        broken_line{
            "beside_a_refusing_filter",
            with_profile + with_uni + with_refusing + with_port_of_mapper + with_filter,
            "MAC_BRIDGE_PORT_CON_DATA 0x1001 of bridge 1: tpPointer 0x0001 (tpType 3) names "
            "802_1P_MAPPER 0x0001, which does not exist",
            "tpPointer", 7},
        broken_line{"missing_profile", with_ctp + with_gem_iw + with_uni + with_ani + with_filter,
                    "MAC_BRIDGE_PORT_CON_DATA 0x0101: bridgeID 0x0001 names "
                    "MAC_BRIDGE_SERVICE_PROFILE 0x0001, which does not exist",
                    "bridgeID", 5},
        // The walk enters the other bridge, which is not that of the frame.
        broken_line{"missing_profile_beside_another",
                    with_ctp + with_gem_iw + with_uni + with_ani + with_filter +
                        "me create MAC_BRIDGE_SERVICE_PROFILE 2\n"
                        "me create MAC_BRIDGE_PORT_CON_DATA 0x2001 bridgeID=2 tpType=5 "
                        "tpPointer=0x44\n",
                    "MAC_BRIDGE_PORT_CON_DATA 0x0101: bridgeID 0x0001 names "
                    "MAC_BRIDGE_SERVICE_PROFILE 0x0001, which does not exist",
                    "bridgeID", 5},
        broken_line{"no_port_of_a_gem_iw", with_profile + with_ctp + with_gem_iw + with_uni,
                    "no 802_1P_MAPPER or MAC_BRIDGE_PORT_CON_DATA points at "
                    "GEM_INTERWORK_TP 0x0011",
                    "instID", 5, true},
        broken_line{"no_gem_iw_of_a_ctp", with_profile + with_ctp + with_uni + with_ani,
                    "no GEM_INTERWORK_TP points at GEM_PORT_CTP 0x0001 (portID 1025)", "portID", 4,
                    true}),
    [](const auto& one) { return one.param.name; });

TEST(old_link, is_noted_if_the_pointer_was_set_again)
{
    const std::string line = with_profile + with_ctp + with_gem_iw + with_uni + with_ani;
    EXPECT_TRUE(verdict_of(path_over({"", line, "", "", 0})).notes.empty());
    const frame_path path =
        path_over({"", line + "me set GEM_INTERWORK_TP 0x11 gemCTPInstID=9\n", "", "", 0});
    EXPECT_EQ(verdict_of(path).outcome, line_outcome::passed);
    std::ostringstream text;
    print_path(path, {.name = "a.scn"}, text);
    EXPECT_NE(text.str().find("The link of GEM_INTERWORK_TP 0x0011 to GEM_PORT_CTP 0x0001 is older "
                              "than gemCTPInstID 0x0009 (a.scn:8).\n"),
              std::string::npos)
        << text.str();
}

// Of a frame over a line that passes it, with more commands after the line.
std::vector<std::string> notes_of(const std::string& more, bool downstream)
{
    const std::string line = with_profile + with_ctp + with_gem_iw + with_uni + with_ani;
    return verdict_of(path_over({"", line + more, "", "", 0, downstream}), {"a.scn", {}}).notes;
}

// The port of the UNI is set to another UNI, or to another bridge: the walk enters it by the link.
TEST(old_link, is_noted_against_the_direction_of_the_walk)
{
    const auto notes = [](const std::string& pointer) {
        return notes_of("me create MAC_BRIDGE_SERVICE_PROFILE 2\n"
                        "me set MAC_BRIDGE_PORT_CON_DATA " +
                            pointer + "\n",
                        false);
    };
    EXPECT_THAT(notes("0x0101 mask=0x1000 bridgeID=1 tpType=1 tpPointer=0x0102"),
                testing::Contains("The link of MAC_BRIDGE_PORT_CON_DATA 0x0101 to "
                                  "PPTP_ETHERNET_UNI 0x0101 is older than tpPointer 0x0102 "
                                  "(a.scn:9)."));
    EXPECT_THAT(notes("0x1001 mask=0x8000 bridgeID=2 tpType=5 tpPointer=0x11"),
                testing::Contains("The link of MAC_BRIDGE_PORT_CON_DATA 0x1001 to "
                                  "MAC_BRIDGE_SERVICE_PROFILE 0x0001 is older than bridgeID 0x0002 "
                                  "(a.scn:9)."));
}

TEST(direction, is_noted_if_the_module_does_not_compare_it)
{
    const auto notes = [](const std::string& more) {
        return notes_of("me set GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=1\n" + more,
                        true);
    };
    EXPECT_THAT(notes(""),
                testing::ElementsAre("The direction of GEM_PORT_CTP 0x0001 is 1, upstream only: "
                                     "the module does not compare it downstream."));
    EXPECT_THAT(notes("me create GEM_PORT_CTP 2 portID=1025 direction=2\n"), testing::IsEmpty());
}

TEST(multicast_port, is_not_the_fault_beside_a_refusing_filter)
{
    const broken_line line{"", with_profile + with_uni + with_multicast + with_refusing, "", "", 0};
    const verdict result = verdict_of(path_over(line));
    ASSERT_FALSE(result.faults.empty());
    EXPECT_EQ(result.faults[0].entity, (me_id{me_class::vtfd, 2})) << result.sentence;
    EXPECT_EQ(result.faults.size(), 1u) << result.sentence;
}

} // namespace

} // namespace gponflow
