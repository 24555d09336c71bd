// SPDX-License-Identifier: GPL-2.0-only
// Captured traffic of a UNI or a GEM port: counts and reports of both hook calls.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/api/platform_hook.h"
#include "tests/explain/lines.h"
#include "tool/explain/account.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/frame_entry.h"
#include "tool/explain/verdict.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// UNI 1 in bridge 1 with VLAN 100, UNI 2 in bridge 2 with VLAN 300.
const std::string line_of_two =
    good_line + "me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8000 direction=3\n"
                "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=2\n"
                "me create MAC_BRIDGE_SERVICE_PROFILE 2\n"
                "me create MAC_BRIDGE_PORT_CON_DATA 0x0201 bridgeID=2 tpType=1 tpPointer=0x0102\n"
                "me create MAC_BRIDGE_PORT_CON_DATA 0x2001 bridgeID=2 tpType=5 tpPointer=0x12\n"
                "me create VLAN_TAG_FILTER_DATA 0x2001 vlanFilterList=300 forwardOperation=0x10 "
                "vlanFilterNums=1\n";

captured_frame frame_of_vlan(uint8_t vlan, uint8_t source = 1)
{
    captured_frame frame({2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, source, 0x81, 0, 0, vlan, 8, 6, 0, 1});
    frame.number = 1;
    return frame;
}

captured_frame cut_frame(size_t held)
{
    captured_frame frame = frame_of_vlan(100);
    frame.wire_length = 64;
    frame.data.resize(held);
    return frame;
}

scenario_line capture_from(const frame_entry& entry, const line_model& entities,
                           std::vector<captured_frame> frames)
{
    return {0, "", pcap_command{"x.pcap", first_call(entry, entities), true, std::move(frames)}};
}

using entered_frames = std::vector<std::pair<frame_entry, std::vector<captured_frame>>>;

frame_account counted_on(const std::string& line, const entered_frames& traffic)
{
    scenario input = parse_good(line);
    const line_model entities = final_entities(input);
    for (const auto& [entry, frames] : traffic)
        input.lines.push_back(capture_from(entry, entities, frames));
    frame_account account;
    std::ostringstream diagnostics;
    EXPECT_EQ(account_scenario(input, *make_host_backend(), account, diagnostics), status_ok);
    return account;
}

constexpr frame_entry uni_1{1, {}};
constexpr frame_entry uni_2{2, {}};

TEST(traffic, passes_from_a_uni_through_both_hook_calls)
{
    const frame_account account =
        counted_on(good_line, {{uni_1, {frame_of_vlan(100), frame_of_vlan(100)}}});
    EXPECT_THAT(account.directions[GPON_API_UP_UNI].destinations,
                ElementsAre(Pair("into bridge 1", 2)));
    EXPECT_THAT(account.directions[GPON_API_UP_ANI].destinations,
                ElementsAre(Pair("GEM port 1025 from bridge 1", 2)));
    EXPECT_EQ(account.directions[GPON_API_DOWN_ANI].frames, 0u);
}

TEST(traffic, passes_from_a_gem_port_through_both_hook_calls)
{
    const frame_account account =
        counted_on(good_line, {{{{}, 1025}, {frame_of_vlan(100), frame_of_vlan(101)}}});
    EXPECT_EQ(account.directions[GPON_API_DOWN_ANI].frames, 2u);
    EXPECT_EQ(account.directions[GPON_API_DOWN_ANI].drops.size(), 1u);
    EXPECT_EQ(account.directions[GPON_API_DOWN_UNI].frames, 1u);
}

TEST(traffic, dropped_by_the_first_call_does_not_reach_the_second)
{
    const frame_account account =
        counted_on(line_of_two + "me delete MAC_BRIDGE_PORT_CON_DATA 0x0201\n",
                   {{uni_2, {frame_of_vlan(100), frame_of_vlan(101)}}});
    EXPECT_EQ(account.directions[GPON_API_UP_UNI].frames, 2u);
    EXPECT_THAT(account.directions[GPON_API_UP_UNI].destinations, IsEmpty());
    EXPECT_EQ(account.directions[GPON_API_UP_ANI].frames, 0u);
}

// At the bridge, the frames of both UNIs take the same path: what refuses them depends on the UNI.
TEST(traffic, is_refused_by_the_filter_of_its_own_bridge)
{
    const frame_account account =
        counted_on(line_of_two,
                   {{uni_1, {frame_of_vlan(7), frame_of_vlan(7)}}, {uni_2, {frame_of_vlan(7, 2)}}});
    EXPECT_THAT(account.directions[GPON_API_UP_ANI].drops,
                ElementsAre(Pair("VLAN 7 priority 0: VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 "
                                 "(forwardOperation 0x04) passes only VLAN 100",
                                 2),
                            Pair("VLAN 7 priority 0: VLAN_TAG_FILTER_DATA 0x2001 of bridge 2 "
                                 "(forwardOperation 0x10) passes only VLAN 300",
                                 1)));
}

TEST(traffic, is_not_classified_without_its_tags)
{
    const frame_account account = counted_on(
        good_line, {{uni_1, {cut_frame(13), cut_frame(15), cut_frame(16), frame_of_vlan(100)}}});
    const direction_account& at_uni = account.directions[GPON_API_UP_UNI];
    EXPECT_EQ(at_uni.frames, 4u);
    EXPECT_THAT(at_uni.untouched, ElementsAre(Pair("its tags are not in the capture", 2)));
    EXPECT_EQ(account.directions[GPON_API_UP_ANI].frames, 2u);
    EXPECT_THAT(account.notes,
                ElementsAre("3 of 4 frames end in the capture before a field that the walk reads "
                            "(snapshot length)"));
}

TEST(traffic, has_no_path_without_its_tags)
{
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    ASSERT_EQ(session.run(parse_good(good_line), out), status_ok);
    const explanation found =
        session.explain({first_call(uni_1, session.entities()), cut_frame(12)});
    print_explanation(found, out);
    EXPECT_EQ(out.str(), "upstream, from the UNI to the bridge, 64 bytes\n"
                         "not classified: its tags are not in the capture\n");
}

const std::string translating_line =
    good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n";

// The frame ends behind its outer tag: an inner tag would make another row apply.
TEST(traffic, is_not_classified_without_a_field_that_an_operation_reads)
{
    const std::string reason = "VLAN_TAG_EXTEND_OPERATE 0x0001 reads a field that is not in the "
                               "capture: the frame ends before its EtherType";
    const frame_account account =
        counted_on(translating_line, {{uni_1, {cut_frame(16), cut_frame(18)}}});
    const direction_account& at_uni = account.directions[GPON_API_UP_UNI];
    EXPECT_THAT(at_uni.untouched, ElementsAre(Pair(reason, 1)));
    EXPECT_EQ(account.directions[GPON_API_UP_ANI].frames, 1u);
    EXPECT_EQ(account.notes.size(), 1u);

    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    ASSERT_EQ(session.run(parse_good(translating_line), out), status_ok);
    const explanation found =
        session.explain({first_call(uni_1, session.entities()), cut_frame(16)});
    const verdict result = verdict_of(found);
    EXPECT_EQ(result.outcome, line_outcome::not_classified);
    EXPECT_EQ(result.sentence, "The frame is not classified: " + reason + ".");
    EXPECT_THAT(result.notes, ElementsAre("The capture holds 16 of the 64 bytes of the frame."));
    print_explanation(found, out);
    EXPECT_EQ(out.str(),
              "upstream, from the UNI to the bridge, 64 bytes\nnot classified: " + reason + "\n");
}

// An untagged packet of which the capture holds no more than the EtherType.
TEST(traffic, is_not_classified_without_the_dscp_that_a_mapper_reads)
{
    captured_frame frame({2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, 1, 8, 0});
    frame.wire_length = 64;
    frame.number = 1;
    const std::string mapper = "me create 802_1P_MAPPER 1 unmark_frame_opt=";
    EXPECT_THAT(counted_on(good_line + mapper + "0\n", {{uni_1, {frame}}})
                    .directions[GPON_API_UP_ANI]
                    .untouched,
                ElementsAre(Pair("802_1P_MAPPER 0x0001 reads the DSCP of the frame, which is not "
                                 "in the capture",
                                 1)));
    EXPECT_THAT(counted_on(good_line + mapper + "1\n", {{uni_1, {frame}}})
                    .directions[GPON_API_UP_ANI]
                    .untouched,
                IsEmpty());
}

// Downstream mode 2: no row matches, which is only known with both tags.
TEST(traffic, is_not_classified_without_a_field_that_an_operation_behind_the_bridge_reads)
{
    frame_entry gem;
    gem.gem = 1025;
    const std::string line =
        translating_line + "tagging VLAN_TAG_EXTEND_OPERATE 1 downstream_mode=2\n";
    const frame_account account = counted_on(line, {{gem, {cut_frame(16), cut_frame(18)}}});
    const direction_account& from_fibre = account.directions[GPON_API_DOWN_ANI];
    EXPECT_THAT(from_fibre.untouched,
                ElementsAre(Pair(testing::HasSubstr("the frame ends before its EtherType"), 1)));
    EXPECT_EQ(account.directions[GPON_API_DOWN_UNI].frames, 1u);
}

// The lines 9 and 10.
TEST(traffic, notes_name_operations_that_were_not_applied)
{
    const std::string enhanced =
        good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\ntagging VLAN_TAG_EXTEND_OPERATE 1 "
                    "association=2 associated=0x0101 rows=default enhanced_mode=1\n";
    EXPECT_THAT(counted_on(enhanced, {{uni_1, {}}}).notes, IsEmpty());
    const frame_account met = counted_on(enhanced, {{uni_1, {frame_of_vlan(100)}}});
    ASSERT_EQ(met.notes.size(), 1u);
    EXPECT_THAT(met.notes[0], testing::StartsWith("VLAN_TAG_EXTEND_OPERATE 0x0001: an operation "
                                                  "exists here and was not applied: "));
    EXPECT_THAT(met.notes[0], testing::EndsWith(" (set in line 10)"));
}

std::optional<uint16_t> only_uni_of(const std::string& line)
{
    const std::optional<uni_port> found = only_uni(final_entities(parse_good(line)));
    return found ? std::optional(found->number) : std::nullopt;
}

TEST(only_uni, has_a_bridge_port)
{
    EXPECT_EQ(only_uni_of("load\n"), std::nullopt);
    EXPECT_EQ(only_uni_of(good_line), 1);
    EXPECT_EQ(only_uni_of(line_of_two), std::nullopt);
    EXPECT_EQ(only_uni_of(line_of_two + "me delete MAC_BRIDGE_PORT_CON_DATA 0x0101\n"), 2);
    // Two UNIs with one number are the same entry.
    EXPECT_EQ(only_uni_of(good_line + "me create MAC_BRIDGE_PORT_CON_DATA 0x0301 bridgeID=1 "
                                      "tpType=11 tpPointer=0x0201\n"),
              1);
}

} // namespace

} // namespace gponflow
