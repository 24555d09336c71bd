// SPDX-License-Identifier: GPL-2.0-only
// The report about a module as it runs, here the one of this process.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/live/process_reader.h"
#include "tool/report/live.h"
#include "tool/report/page.h"
#include "tool/report/report_json.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string up_frame = "hook kind=up_ani " + frame_of_vlan_100 + "\n";
const std::string enter_frame = "hook kind=up_uni port=1 " + frame_of_vlan_100 + "\n";
const std::string down_frame =
    "hook kind=down_ani gem=1025 frame=0200000001010200000000018100006408004500\n";
const std::string dropped_frame = "hook kind=up_ani " + frame_of_vlan_101 + "\n";
const std::string with_uni =
    good_line + "me create PPTP_ETHERNET_UNI 0x0101\n"
                "me set MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101\n";

// Makes each call, unlike captured_run.
class every_frame final : public captured_run {
public:
    using captured_run::captured_run;

private:
    void on_frame(const packet_options& options, const captured_frame& frame) override
    {
        target_.hook(options, &frame.data);
    }
};

report_data live_after(const std::string& text)
{
    const auto host = make_host_backend();
    std::ostringstream diagnostics;
    EXPECT_EQ(every_frame(*host).run(parse_good(text), diagnostics), status_ok)
        << diagnostics.str();
    return live_report(*make_process_reader());
}

const flow_row& flow_of_kind(const report_data& data, uint32_t kind)
{
    static const flow_row none;
    for (const flow_row& flow : data.flows)
        if (flow.kind == kind)
            return flow;
    ADD_FAILURE() << "no flow of kind " << kind;
    return none;
}

uint64_t counter_in(const report_data& data, std::string_view name)
{
    for (const counter_value& one : data.live->counters)
        if (one.name == name)
            return one.value;
    ADD_FAILURE() << "no counter " << name;
    return 0;
}

TEST(live_report, has_a_flow_for_each_rule_with_its_hits)
{
    const report_data data = live_after(with_uni + enter_frame + up_frame + up_frame + up_frame +
                                        down_frame + down_frame + dropped_frame);
    ASSERT_EQ(data.flows.size(), 3u);
    EXPECT_EQ(data.flows[0].kind, 1u) << "the flow with most frames is first";
    const flow_row& up = flow_of_kind(data, 1);
    EXPECT_EQ(up.frames, 3u);
    EXPECT_EQ(up.quick, 2u);
    EXPECT_EQ(up.outcome, "GEM port 1025 from bridge 1");
    EXPECT_THAT(up.path, ElementsAre(me_id{me_class::mbsp, 1}, me_id{me_class::mbpcd, 0x1001},
                                     me_id{me_class::gemiw, 0x11}, me_id{me_class::gemctp, 1}));
    EXPECT_EQ(flow_of_kind(data, 0).entry, "UNI 1");
    EXPECT_EQ(flow_of_kind(data, 0).outcome, "into bridge 1");
    EXPECT_EQ(flow_of_kind(data, 3).entry, "GEM port 1025");
    EXPECT_EQ(flow_of_kind(data, 3).frames, 2u);
    EXPECT_EQ(data.directions[1].frames, 3u);
    EXPECT_EQ(data.directions[1].quick, 2u);
}

TEST(live_report, has_dropped_frames_in_its_counters_only)
{
    const report_data data = live_after(with_uni + dropped_frame + dropped_frame);
    EXPECT_THAT(data.flows, IsEmpty());
    EXPECT_EQ(counter_in(data, "frames_failed"), 2u);
    EXPECT_EQ(counter_in(data, "walks_filtered"), 2u);
    const std::string page = report_page(data);
    EXPECT_THAT(page, HasSubstr("walks_filtered</th><td>2</td>"));
    EXPECT_THAT(page, Not(HasSubstr("No frame was dropped")));
}

// A rule is used before the platform chooses the queue.
TEST(live_report, does_not_claim_that_frames_without_a_queue_passed)
{
    const report_data data = live_after(with_uni + "platform queue=-1\n" + up_frame + up_frame +
                                        up_frame + up_frame + up_frame);
    EXPECT_EQ(counter_in(data, "frames_failed"), 5u);
    EXPECT_EQ(data.directions[1].frames, 5u);
    EXPECT_EQ(data.directions[1].passed, 0u);
    EXPECT_EQ(flow_of_kind(data, 1).fate, frame_fate::learnt);
    const std::string page = report_page(data);
    EXPECT_THAT(page, Not(HasSubstr("percent passed")));
    EXPECT_THAT(page, Not(HasSubstr("<b>passed</b>")));
    EXPECT_THAT(page, HasSubstr("<b>learnt</b> GEM port 1025 from bridge 1"));
    std::ostringstream out;
    print_report_json(data, out);
    EXPECT_THAT(out.str(), Not(HasSubstr("\"passed\"")));
    EXPECT_THAT(out.str(), HasSubstr("\"outcome\": \"learnt\""));
}

// Such a frame passes although the filter refuses it, and so does its rule.
TEST(live_report, does_not_claim_that_a_multicast_frame_entered_a_bridge)
{
    const std::string multicast =
        with_uni + "me create GEM_PORT_CTP 7 portID=4094 direction=2\n"
                   "me create MULTICAST_GEM_INTERWORK_TP 0x61 GemCTPInstID=7\n"
                   "me create MAC_BRIDGE_PORT_CON_DATA 0x3001 bridgeID=1 tpType=6 tpPointer=0x61\n";
    const std::string filter = "me create VLAN_TAG_FILTER_DATA 0x3001 vlanFilterList=300 "
                               "forwardOperation=0x04 vlanFilterNums=1\n";
    const std::string frame =
        "hook kind=down_ani gem=4094 mcast=1 frame=01005e0000010200000001018100006508004500\n";
    EXPECT_EQ(flow_of_kind(live_after(multicast + filter + frame), 3).outcome,
              "to bridge 1, if the filter of its port passes the frame");
    EXPECT_EQ(flow_of_kind(live_after(multicast + frame), 3).outcome, "into bridge 1");
}

TEST(live_report, checks_the_entities)
{
    const report_data data = live_after("load\nme create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n");
    EXPECT_FALSE(data.findings.empty());
    EXPECT_NE(data.entities.find({me_class::gemiw, 0x11}), nullptr);
    EXPECT_FALSE(data.live->enabled);
    EXPECT_FALSE(data.live->changed);
    EXPECT_THAT(report_page(data), HasSubstr("The engine is disabled"));
}

TEST(live_report, says_that_the_module_is_changing)
{
    report_data data = live_after(with_uni + up_frame);
    EXPECT_THAT(report_page(data), Not(HasSubstr("changed while they were read")));
    data.live->changed = true;
    EXPECT_THAT(report_page(data), HasSubstr("changed while they were read"));
    std::ostringstream out;
    print_report_json(data, out);
    EXPECT_THAT(out.str(), HasSubstr("\"changed\": true"));
    EXPECT_THAT(out.str(), HasSubstr("\"walks_done\": 1"));
}

} // namespace
} // namespace gponflow
