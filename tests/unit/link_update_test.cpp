// SPDX-License-Identifier: GPL-2.0-only
#include <cstring>

#include "tests/unit/store_access.h"

#include "me/link_update.h"
#include "me_class/classes.h"

namespace {

using gpon::test::create_bridge;
using gpon::test::ids_of;
using gpon::test::recorded;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using gpon::test::CREATE;
using gpon::test::DELETE;
using gpon::test::SET;

class link_report : public loaded_module {
protected:
    static i32 report(me_class from_class, u16 from, me_class to_class, u16 to, u8 msg_type)
    {
        const gpon_me_related_update update = {from_class, from, to_class, to, msg_type};
        return gpon_flow_me_general_update(&update);
    }
};

TEST_F(link_report, needs_a_report_and_a_mirrored_class)
{
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_flow_me_general_update(nullptr), -1);
    EXPECT_EQ(report(me_class::mbpcd, 1, gpon::to_me_class(46), 1, CREATE), -1);
    EXPECT_EQ(report(me_class::mbpcd, 1, gpon::to_me_class(0), 1, CREATE), -1);
    EXPECT_THAT(
        log_lines(),
        ElementsAre("***ERROR***[gpon_flow_me_general_update][0]Parameter is Null.",
                    "***ERROR***[gpon_flow_me_general_update][0]the classId(46) can not get the "
                    "entry.",
                    "***ERROR***[gpon_flow_me_general_update][0]the classId(0) can not get the "
                    "entry."));
}

TEST_F(link_report, replaces_the_node_and_keeps_its_blocks)
{
    create_bridge(1);
    create_bridge(2);
    create_bridge(3);
    const gpon_me_inst* old = gpon::find_inst(&gpon_mbsp_list, 2);
    const u8* raw = old->raw;
    const gpon_me_related_info* related = old->related;
    const uint64_t before = gpon::host::memory().live_bytes;
    EXPECT_EQ(report(me_class::mbpcd, 0x101, me_class::mbsp, 2, CREATE), 0);
    const gpon_me_inst* renewed = gpon::find_inst(&gpon_mbsp_list, 2);
    EXPECT_NE(renewed, old);
    EXPECT_EQ(renewed->raw, raw);
    EXPECT_EQ(renewed->related, related);
    EXPECT_THAT(recorded(me_class::mbsp, 2, me_class::mbpcd), ElementsAre(0x101));
    EXPECT_THAT(ids_of(gpon_mbsp_list), ElementsAre(1, 2, 3));
    gpon::host::rcu_settle();
    EXPECT_EQ(gpon::host::memory().live_bytes, before);
}

// One event for each change of the links, and none for a report that changes nothing.
TEST_F(link_report, is_an_event_if_the_links_change)
{
    u32 events = 0;
    gpon::host::set_observer([&](const gpon_event& event) {
        events += event.kind == GPON_EVENT_INSTANCE_CHANGED && event.cause == GPON_INSTANCE_LINKED;
    });
    create_bridge(1);
    EXPECT_EQ(events, 0u);
    const auto expect_events = [&](u8 msg_type, u16 id, u32 expected) {
        const u32 before = events;
        EXPECT_EQ(report(me_class::mbpcd, id, me_class::mbsp, 1, msg_type), 0);
        EXPECT_EQ(events - before, expected) << int{msg_type} << ' ' << id;
    };
    expect_events(SET, 0x101, 1);
    expect_events(SET, 0x101, 0);
    expect_events(CREATE, 0x101, 1);
    expect_events(DELETE, 0x102, 0);
    expect_events(DELETE, 0, 0);
    expect_events(DELETE, 0x101, 1);
    expect_events(DELETE, 0x101, 1);
    expect_events(DELETE, 0x101, 0);
    const gpon_me_inst* bridge = gpon::find_inst(&gpon_mbsp_list, 1);
    const i32 room = gpon::find_row(bridge->related, me_class::mbpcd)->related_inst_num;
    for (u16 id = 1; id <= room; ++id)
        expect_events(id % 2 ? SET : CREATE, id, 1);
    expect_events(SET, 0x7777, 0);
    expect_events(CREATE, 0x7777, 0);
    gpon::host::set_observer(nullptr);
}

TEST_F(link_report, without_memory_for_the_node_nothing_changes)
{
    create_bridge(1);
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_EQ(report(me_class::mbpcd, 0x101, me_class::mbsp, 1, CREATE), -1);
    EXPECT_THAT(recorded(me_class::mbsp, 1, me_class::mbpcd), IsEmpty());
}

TEST_F(link_report, is_dropped_if_an_instance_of_the_olt_s_classes_is_missing)
{
    gponDebugLevel = LOG_ERROR | LOG_WARNING;
    for (const me_class class_id :
         {me_class::mbsp, me_class::mbpcd, me_class::vtfd, me_class::mapper, me_class::gemiw,
          me_class::gemctp, me_class::multigemiw, me_class::td, me_class::vtocd,
          me_class::evtocd}) {
        EXPECT_EQ(report(me_class::mbpcd, 1, class_id, 9, CREATE), 0)
            << gpon::class_number(class_id);
        EXPECT_THAT(ids_of(*gpon::mirrored_class(class_id)->list_info->head), IsEmpty());
    }
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(link_report, creates_a_missing_instance_of_the_onu_s_classes)
{
    struct {
        me_class to_class;
        me_class from_class;
    } const links[] = {{me_class::pptp, me_class::mbpcd},
                       {me_class::veip, me_class::mbpcd},
                       {me_class::tcont, me_class::gemctp},
                       {me_class::ts, me_class::pq},
                       {me_class::pq, me_class::gemctp}};
    for (const u8 msg_type : u8s{CREATE, SET})
        for (const auto& link : links) {
            const u16 id = msg_type;
            EXPECT_EQ(report(link.from_class, 0x55, link.to_class, id, msg_type), 0);
            const gpon_me_inst* inst =
                gpon::find_inst(gpon::mirrored_class(link.to_class)->list_info->head, id);
            ASSERT_NE(inst, nullptr) << gpon::class_number(link.to_class);
            u16 inst_id;
            std::memcpy(&inst_id, inst->raw, sizeof(inst_id));
            EXPECT_EQ(inst_id, id);
            EXPECT_THAT(recorded(link.to_class, id, link.from_class), ElementsAre(0x55));
        }
    EXPECT_THAT(ids_of(gpon_pptp_uni_list), ElementsAre(CREATE, SET));
}

TEST_F(link_report, a_created_instance_is_zero_but_for_its_id)
{
    report(me_class::gemctp, 1, me_class::tcont, 0x8001, CREATE);
    const gpon_me_inst* inst = gpon::find_inst(&gpon_tcont_list, 0x8001);
    ASSERT_NE(inst, nullptr);
    EXPECT_EQ(std::vector<u8>(inst->raw, inst->raw + 6), (std::vector<u8>{1, 0x80, 0, 0, 0, 0}));
}

TEST_F(link_report, a_deleted_link_creates_no_instance)
{
    gponDebugLevel = LOG_TRACE;
    EXPECT_EQ(report(me_class::mbpcd, 1, me_class::pptp, 0x101, DELETE), 0);
    EXPECT_THAT(log_lines(), Contains("***TRACE*** Auto Create this Instance 0000\r"));
    EXPECT_EQ(report(me_class::mbpcd, 1, me_class::pptp, 0x101, 5), 0);
    EXPECT_THAT(ids_of(gpon_pptp_uni_list), IsEmpty());
}

TEST_F(link_report, changes_nothing_for_an_unknown_message)
{
    create_bridge(1);
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(report(me_class::mbpcd, 0x101, me_class::mbsp, 1, 5), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_flow_list_update_related_id][0] action error\r"));
    EXPECT_THAT(recorded(me_class::mbsp, 1, me_class::mbpcd), IsEmpty());
}

TEST_F(link_report, names_the_instance_that_is_there)
{
    create_bridge(0x1a);
    gponDebugLevel = LOG_TRACE;
    report(me_class::mbpcd, 1, me_class::mbsp, 0x1a, CREATE);
    EXPECT_THAT(log_lines(), Contains("***TRACE*** Me Inst Already exist entity id 001a\r"));
}

// Without memory for the node the call is silent and succeeds, without other memory it fails.
TEST_F(link_report, a_creation_that_runs_out_of_memory_leaves_nothing)
{
    const uint64_t before = gpon::host::memory().live_blocks;
    gponDebugLevel = LOG_ERROR;
    gpon::host::arm_fault(gpon::host::fault::alloc, 1);
    EXPECT_EQ(report(me_class::gemctp, 1, me_class::pq, 5, CREATE), 0);
    for (const uint64_t nth : {2, 3}) {
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        EXPECT_EQ(report(me_class::gemctp, 1, me_class::pq, 5, CREATE), -1) << nth;
    }
    EXPECT_THAT(log_lines(), IsEmpty());
    gpon::host::arm_fault(gpon::host::fault::alloc, 4);
    EXPECT_EQ(report(me_class::gemctp, 1, me_class::pq, 5, CREATE), -1);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_flow_list_alloc_related_data][0] kzalloc fail\r"));
    EXPECT_THAT(ids_of(gpon_pq_list), IsEmpty());
    EXPECT_EQ(gpon::host::memory().live_blocks, before);
}

} // namespace
