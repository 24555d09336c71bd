// SPDX-License-Identifier: GPL-2.0-only
#include <cstdio>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/model/tag_set.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/run.h"

namespace gponflow {

namespace {

std::string hex(unsigned value, int digits)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%0*x", digits, value);
    return text;
}

gpon_raw_vtfd filter_of(unsigned code, uint8_t entries)
{
    gpon_raw_vtfd filter{};
    filter.forwardOperation = static_cast<uint8_t>(code);
    filter.vlanFilterNums = entries;
    filter.vlanFilterList[0] = 0xa064; // VLAN 100, priority 5
    filter.vlanFilterList[1] = 0x012c; // VLAN 300, priority 0
    return filter;
}

// The module decides about frames that differ from the list in the VLAN, in the priority, in the
// DEI, in all of them, about untagged frames, and about the number and code behind the list; each
// code must agree with the set.
void expect_agreement(uint8_t entries)
{
    constexpr unsigned codes = 0x23; // one more than there are
    std::string text = good_line;
    for (unsigned code = 0; code < codes; ++code) {
        text += "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 vlanFilterList=0xa064,0x012c "
                "vlanFilterNums=" +
                std::to_string(entries) + " forwardOperation=0x" + hex(code, 2) + "\n";
        const tag_set passed = passed_by(filter_of(code, entries));
        const auto behind_list = static_cast<uint16_t>(entries << 8 | code);
        for (const uint16_t tci :
             {uint16_t{0xa064}, uint16_t{0xb064}, uint16_t{0x0064}, uint16_t{0xa0c8},
              uint16_t{0x012c}, uint16_t{0xa12c}, uint16_t{0x20c8}, uint16_t{0x0001},
              uint16_t{0x2000}, behind_list, uint16_t{0}})
            text += "hook kind=up_ani frame=020000000001020000000101" +
                    (tci == 0 ? "" : "8100" + hex(tci, 4)) +
                    "08004500\nexpect api_result=" + (passed[tci] ? "0" : "1") + "\n";
    }
    const auto target = make_host_backend();
    std::ostringstream out;
    std::ostringstream diagnostics;
    EXPECT_EQ(run_scenario(parse_good(text), *target, out, diagnostics, true), status_ok);
    const std::string transcript = out.str();
    const size_t failed = transcript.find("\n! ");
    EXPECT_EQ(failed, std::string::npos)
        << transcript.substr(failed > 900 ? failed - 900 : 0, 1000);
}

TEST(tag_set, agrees_with_the_module_for_every_forward_operation)
{
    expect_agreement(2);
}

TEST(tag_set, agrees_with_the_module_about_entries_behind_the_list)
{
    expect_agreement(14);
    expect_agreement(255);
}

TEST(tag_set, a_port_accepts_what_its_filter_and_mapper_pass)
{
    const std::string mapper =
        "load\nme create GEM_PORT_CTP 1 portID=1025 direction=3\n"
        "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
        "me create 802_1P_MAPPER 1 tpPointer=0xffff pbit_GemIWTP=0x11,0x11,0,0,0,0,0,0x11 "
        "unmark_frame_opt=1 defaultPbit=";
    const std::string port = "\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n"
                             "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 "
                             "tpPointer=1\n";
    const std::string filter = "me create VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=100,101 "
                               "forwardOperation=0x03 vlanFilterNums=2\n";
    const auto accepted = [](const std::string& text) {
        const line_model model = final_entities(parse_good(text));
        return accepted_upstream(model, *model.find({me_class::mbpcd, 0x1001}));
    };
    EXPECT_EQ(to_text(accepted(mapper + "1" + port + filter)),
              "untagged, VLANs 100 to 101 (priority 0 to 1, 7)");
    EXPECT_EQ(to_text(accepted(mapper + "2" + port + filter)),
              "VLANs 100 to 101 (priority 0 to 1, 7)");
    // Priority 8 is the word behind the list: unmark_frame_opt and the first byte of the DSCP map.
    EXPECT_EQ(to_text(accepted(mapper + "8" + port + filter)),
              "VLANs 100 to 101 (priority 0 to 1, 7)");
    EXPECT_EQ(to_text(accepted(mapper + "8" + port + filter +
                               "me create GEM_INTERWORK_TP 1 gemCTPInstID=1\n")),
              "untagged, VLANs 100 to 101 (priority 0 to 1, 7)");
    EXPECT_FALSE(has_all_vlans(accepted(mapper + "1" + port)));
}

TEST(tag_set, contains_what_a_port_accepts)
{
    for (const char* port :
         {"tpType=5 tpPointer=0x11", "tpType=3 tpPointer=1", "tpType=1 tpPointer=1"})
        for (unsigned code = 0; code < 0x23; ++code) {
            const line_model model = final_entities(parse_good(
                "load\nme create GEM_PORT_CTP 1 portID=1025 direction=3\n"
                "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
                "me create 802_1P_MAPPER 1 pbit_GemIWTP=0x11,0,0x11,0,0,0x11 unmark_frame_opt=" +
                std::to_string(code % 3) +
                "\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n"
                "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 " +
                port +
                "\nme create VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=0xa064,0x012c "
                "vlanFilterNums=2 forwardOperation=0x" +
                hex(code, 2) + "\n"));
            const me_instance& one = *model.find({me_class::mbpcd, 0x1001});
            const tag_set accepted = accepted_upstream(model, one);
            for (unsigned tci = 0; tci < accepted.size(); tci += tci < 0x400 ? 1 : 61)
                ASSERT_EQ(accepts_upstream(model, one, static_cast<uint16_t>(tci)), accepted[tci])
                    << port << " code " << code << " TCI " << tci;
        }
}

TEST(tag_set, is_described_by_ranges)
{
    tag_set tags;
    EXPECT_EQ(to_text(tags), "nothing");
    tags.set(untagged_tci);
    EXPECT_EQ(to_text(tags), "untagged");
    for (unsigned vlan : {10u, 20u, 30u, 40u, 50u})
        tags.set(vlan | 3u << 13);
    EXPECT_EQ(to_text(tags),
              "untagged, VLANs 10 (priority 3), 20 (priority 3), 30 (priority 3), 40 "
              "(priority 3) and 1 more");
    EXPECT_TRUE(has_all_vlans(~tag_set()));
}

} // namespace

} // namespace gponflow
