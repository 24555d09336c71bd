// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/frame_query.h"

#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tests/tool/scratch_folder.h"
#include "tests/tool/small_capture.h"
#include "tool/capture/frame_header.h"
#include "tool/explain/path_output.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

// UNI 1 and bridge 1: VLAN 100. UNI 2 and bridge 2: VLAN 300 with priority 5 and a mapper.
const std::string two_bridges =
    good_line +
    "me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8000 direction=3 trafficMgrPtrUp=3\n"
    "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=2\n"
    "me create 802_1P_MAPPER 2 tpPointer=0xffff "
    "pbit_GemIWTP=0x12,0x12,0x12,0x12,0x12,0x12,0x12,0xffff unmark_frame_opt=1\n"
    "me create MAC_BRIDGE_SERVICE_PROFILE 2\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x0201 bridgeID=2 tpType=1 tpPointer=0x0102\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x2001 bridgeID=2 tpType=3 tpPointer=2\n"
    "me create VLAN_TAG_FILTER_DATA 0x2001 vlanFilterList=0xa12c,0xe12c forwardOperation=0x14 "
    "vlanFilterNums=2\n";

struct query_result {
    frame_path path;
    verdict result;
    std::string text;
};

query_result ask(const std::string& line, const frame_query& query)
{
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    EXPECT_EQ(session.run(parse_good(line), out), status_ok);
    frame_path path = trace_frame(query, session);
    print_path(path, {.name = "line.scn"}, out);
    const verdict result = verdict_of(path);
    return {std::move(path), result, out.str()};
}

frame_query from_uni(uint16_t uni, std::optional<query_tag> outer = {})
{
    frame_query query;
    query.uni = uni;
    query.outer = outer;
    return query;
}

std::string complaint_about(const std::string& line, const frame_query& query)
{
    try {
        ask(line, query);
    } catch (const std::runtime_error& why) {
        return why.what();
    }
    return "no complaint";
}

TEST(query, dropped_frame_without_tags_is_called_untagged)
{
    const std::string line = good_line + "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 "
                                         "vlanFilterList=100 forwardOperation=0x10 "
                                         "vlanFilterNums=1\n";
    const std::string untagged = ask(line, from_uni(1)).text;
    EXPECT_NE(untagged.find("drops untagged frames; the frame is untagged.\n"), std::string::npos)
        << untagged;
    const std::string tagged = ask(line, from_uni(1, query_tag{7, 0})).text;
    EXPECT_NE(tagged.find("; the frame has VLAN 7 priority 0.\n"), std::string::npos) << tagged;
}

// G.988 9.2.3: the pointer of a rate-controlled ONU names the T-CONT again.
TEST(query, a_pointer_to_the_tcont_is_no_queue)
{
    const auto sentence = [](const std::string& queue) {
        std::string line = good_line;
        const std::string tcont = "tcontID=0x8000 direction=3";
        line.replace(line.find(tcont), tcont.size(), tcont + " trafficMgrPtrUp=0x8000");
        return ask(line + queue, from_uni(1, query_tag{100, 0})).result.sentence;
    };
    EXPECT_EQ(sentence(""),
              "The frame passes from UNI 1 through bridge 1 to GEM port 1025 (T_CONT 0x8000).");
    const std::string with_queue = "The frame passes from UNI 1 through bridge 1 to GEM port 1025 "
                                   "(T_CONT 0x8000, PRIORITY_QUEUE 0x8000).";
    EXPECT_EQ(sentence("me set PRIORITY_QUEUE 0x8000 relatedPort=0x80000000\n"), with_queue);
    // An ONU with upstream queues: the pointer of another GEM port can mean nothing else.
    EXPECT_EQ(sentence("me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8000 direction=3 "
                       "trafficMgrPtrUp=0x8007\n"),
              with_queue);
    EXPECT_EQ(sentence("config related_port_boundary=0x80000000\n"), with_queue);
    EXPECT_EQ(sentence("config related_port_boundary=0x80000000 traffic_mgmt_option=1\n"),
              "The frame passes from UNI 1 through bridge 1 to GEM port 1025 (T_CONT 0x8000).");
}

// Two CTPs may share a port-ID if each has its own direction.
TEST(query, the_queue_is_that_of_the_upstream_ctp)
{
    std::string line = good_line;
    const std::string upstream = "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3";
    line.replace(line.find(upstream), upstream.size(),
                 "me create GEM_PORT_CTP 1 portID=1025 direction=2 trafficMgrPtrUp=9\n"
                 "me create GEM_PORT_CTP 2 portID=1025 tcontID=0x8000 direction=1 "
                 "trafficMgrPtrUp=3");
    const std::string pointer = "gemCTPInstID=1";
    line.replace(line.find(pointer), pointer.size(), "gemCTPInstID=2");
    EXPECT_EQ(ask(line, from_uni(1, query_tag{100, 0})).result.sentence,
              "The frame passes from UNI 1 through bridge 1 to GEM port 1025 (T_CONT 0x8000, "
              "PRIORITY_QUEUE 0x0003).");
}

TEST(query, a_frame_goes_from_its_uni_to_the_gem_port_in_one_answer)
{
    const query_result found = ask(two_bridges, from_uni(2, query_tag{300, 5}));
    EXPECT_EQ(found.path.halves.size(), 2u);
    EXPECT_EQ(found.result.outcome, line_outcome::passed);
    EXPECT_EQ(found.result.sentence,
              "The frame passes from UNI 2 through bridge 2 to GEM port 1026 "
              "(T_CONT 0x8000, PRIORITY_QUEUE 0x0003).");
    EXPECT_EQ(found.text,
              "frame: 02:00:00:00:00:02 to 02:00:00:00:00:01, VLAN 300 priority 5, IPv4, 60 bytes\n"
              "The frame passes from UNI 2 through bridge 2 to GEM port 1026 (T_CONT 0x8000, "
              "PRIORITY_QUEUE 0x0003).\n"
              "\n"
              "upstream, from the UNI to the bridge\n"
              "  PPTP_ETHERNET_UNI 0x0102\n"
              "    MAC_BRIDGE_PORT_CON_DATA 0x0201  bridgeID=0x0002 tpType=1 tpPointer=0x0102\n"
              "\n"
              "upstream, from the bridge to the ANI\n"
              "  MAC_BRIDGE_SERVICE_PROFILE 0x0002\n"
              "    MAC_BRIDGE_PORT_CON_DATA 0x2001  bridgeID=0x0002 tpType=3 tpPointer=0x0002\n"
              "        filter 0x2001: code 0x14, TCI 0xa12c (VLAN 300, priority 5), list {0xa12c, "
              "0xe12c}: pass\n"
              "      802_1P_MAPPER 0x0002  "
              "pbit_GemIWTP=0x0012,0x0012,0x0012,0x0012,0x0012,0x0012,0x0012,0xffff\n"
              "        GEM_INTERWORK_TP 0x0012  gemCTPInstID=0x0002\n"
              "            mapper 0x0002: TCI 0xa12c, priority 5 selects GEM IW TP 0x0012: match\n"
              "          GEM_PORT_CTP 0x0002  portID=1026 direction=3\n"
              "  not taken: 2 ports on the UNI side, not on the path of this frame\n"
              "             1 port of another bridge: its VLAN filter blocks the frame at this "
              "port\n");
}

TEST(query, the_filter_in_the_bridge_of_the_uni_is_at_fault)
{
    const query_result found = ask(two_bridges, from_uni(2, query_tag{300, 6}));
    EXPECT_EQ(found.result.sentence,
              "The frame from UNI 2 is dropped: VLAN_TAG_FILTER_DATA 0x2001 of bridge 2 "
              "(forwardOperation 0x14) passes only VLAN 300 priority 5, VLAN 300 priority 7; the "
              "frame has VLAN 300 priority 6.");
    ASSERT_EQ(found.result.faults.size(), 1u);
    EXPECT_EQ(found.result.faults[0].entity, (me_id{me_class::vtfd, 0x2001}));
    EXPECT_NE(found.text.find("VLAN_TAG_FILTER_DATA 0x2001 is written in line.scn:15.\n"),
              std::string::npos)
        << found.text;
    EXPECT_NE(found.text.find("not taken: 2 ports on the UNI side, not on the path of this frame\n"
                              "             1 port of another bridge: its VLAN filter drops the "
                              "frame\n"),
              std::string::npos)
        << found.text;
}

TEST(query, the_mapper_entry_is_at_fault)
{
    EXPECT_EQ(ask(two_bridges, from_uni(2, query_tag{300, 7})).result.sentence,
              "The frame from UNI 2 is dropped: 802_1P_MAPPER 0x0002 of bridge 2 has no GEM IW TP "
              "for priority 7 (pbit_GemIWTP 0xffff); the frame has VLAN 300 priority 7.");
}

TEST(query, a_frame_that_leaves_from_another_bridge_is_noted)
{
    const query_result found = ask(two_bridges, from_uni(2, query_tag{100, 0}));
    ASSERT_EQ(found.result.notes.size(), 1u);
    EXPECT_EQ(found.result.notes[0],
              "The frame entered bridge 2 and leaves from bridge 1: the hook "
              "call that chooses the GEM port has no information about the UNI.");
}

TEST(query, a_bridge_without_ani_side_is_at_fault)
{
    const std::string line =
        good_line + "me create MAC_BRIDGE_PORT_CON_DATA 0x0201 bridgeID=2 tpType=1 "
                    "tpPointer=0x0102\nme create MAC_BRIDGE_SERVICE_PROFILE 2\n"
                    "me set MAC_BRIDGE_PORT_CON_DATA 0x0201 bridgeID=2 tpType=1 tpPointer=0x0102\n";
    EXPECT_EQ(ask(line, from_uni(2, query_tag{300, 0})).result.sentence,
              "The frame from UNI 2 is dropped: MAC_BRIDGE_SERVICE_PROFILE 0x0002 has no port on "
              "the ANI side; the frame has VLAN 300 priority 0.");
}

TEST(query, a_frame_of_a_gem_port_goes_down_to_the_unis_of_its_bridge)
{
    frame_query query;
    query.gem = 1025;
    query.outer = {100, 0};
    const query_result found = ask(two_bridges, query);
    EXPECT_EQ(found.result.sentence,
              "The frame passes from GEM port 1025 into bridge 1, towards UNI 1.");
    query.outer = {101, 0};
    EXPECT_EQ(ask(two_bridges, query).result.sentence,
              "The frame from GEM port 1025 is dropped: VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 "
              "(forwardOperation 0x04) passes only VLAN 100; the frame has VLAN 101 priority 0.");
}

TEST(query, an_entry_that_the_line_does_not_have_is_named)
{
    EXPECT_EQ(complaint_about(two_bridges, from_uni(7)),
              "UNI 7 does not exist: the UNIs of the line are 1 (PPTP_ETHERNET_UNI 0x0101), 2 "
              "(PPTP_ETHERNET_UNI 0x0102)");
    EXPECT_EQ(complaint_about("load\n", from_uni(1)), "UNI 1 does not exist: the line has no UNI");
    frame_query query;
    EXPECT_TRUE(complaint_about(two_bridges, query)
                    .starts_with("no entry for the frame: add "
                                 "--uni"));
    query.gem = 7;
    EXPECT_EQ(complaint_about(two_bridges, query),
              "no GEM_PORT_CTP has the GEM port 7 (portID): the GEM ports of the line are 1025, "
              "1026");
}

TEST(query, an_engine_that_is_off_is_named)
{
    const query_result found =
        ask(two_bridges + "hook kind=switch param=0\n", from_uni(1, query_tag{100, 0}));
    EXPECT_EQ(found.result.outcome, line_outcome::not_classified);
    EXPECT_EQ(found.result.sentence, "The frame is not classified: the engine is disabled (hook "
                                     "kind=switch param=1 enables it).");
}

TEST(query, frames_are_built_from_their_fields)
{
    frame_query query = from_uni(1, query_tag{500, 1});
    query.inner = {10, 3};
    query.tpid = 0x88a8;
    query.source = "02:00:00:00:01:07";
    query.dscp = 46;
    EXPECT_EQ(header_text(read_header(frame_of(query))),
              "02:00:00:00:01:07 to 02:00:00:00:00:01, VLAN 500 priority 1 (TPID 0x88a8), inner "
              "VLAN 10 priority 3, IPv4, DSCP 46, 60 bytes");
    query.ethertype = 0x86dd;
    EXPECT_EQ(read_header(frame_of(query)).dscp, 46);
    query.outer.reset();
    EXPECT_THROW(frame_of(query), std::runtime_error);
    query = {};
    query.source = "02:00";
    EXPECT_THROW(frame_of(query), std::runtime_error);
    query.source = "zz:00:00:00:00:00";
    EXPECT_THROW(frame_of(query), std::runtime_error);
}

// Fields that are not in the capture are reported, not guessed.
TEST(query, a_tag_of_vlan_0_counts_as_untagged)
{
    const query_result found = ask(two_bridges, from_uni(2, query_tag{0, 0}));
    EXPECT_EQ(found.result.outcome, line_outcome::dropped);
    EXPECT_NE(
        found.result.sentence.find("the frame has VLAN 0 priority 0, which counts as untagged."),
        std::string::npos)
        << found.result.sentence;
}

TEST(query, a_frame_that_the_capture_cut_has_a_note)
{
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    EXPECT_EQ(session.run(parse_good(good_line), out), status_ok);
    frame_path path = trace_frame(from_uni(1), session);
    path.frame.data.resize(15);
    path.frame.wire_length = 298;
    const verdict result = verdict_of(path);
    ASSERT_EQ(result.notes.size(), 1u);
    EXPECT_EQ(result.notes[0], "The capture holds 15 of the 298 bytes of the frame: the outcome is "
                               "that of the captured part.");
}

TEST(query, a_frame_without_its_tags_has_no_outcome)
{
    const scratch_folder folder;
    const std::string start("\2\0\0\0\0\1\2\0\0\0\1\1\x81\0\0", 15);
    frame_query query = from_uni(1);
    query.capture = folder.write("cut.pcap", small_capture(start, 298)).string();
    const query_result found = ask(good_line, query);
    EXPECT_EQ(found.result.outcome, line_outcome::not_classified);
    EXPECT_EQ(found.result.sentence,
              "The frame is not classified: its tags are not in the capture.");
    ASSERT_EQ(found.result.notes.size(), 1u);
    EXPECT_EQ(found.result.notes[0], "The capture holds 15 of the 298 bytes of the frame.");
    EXPECT_TRUE(found.path.halves.front().walk.steps.empty());
}

TEST(query, an_omci_message_has_a_note)
{
    frame_query query = from_uni(1);
    query.ethertype = 0x88b5;
    const query_result found = ask(good_line, query);
    EXPECT_NE(found.text.find("The frame is an OMCI message (type 0x88b5), not traffic"),
              std::string::npos);
}

} // namespace

} // namespace gponflow
