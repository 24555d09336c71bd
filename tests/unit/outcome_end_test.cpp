// SPDX-License-Identifier: GPL-2.0-only
// Which events end a remembered outcome.
#include "tests/unit/outcome_fixture.h"

#include "hash/aging.h"
#include "me/link_update.h"

namespace {

using gpon::test::apply;

TEST_F(outcome, ends_with_each_change_of_the_store)
{
    const bytes sent = frame(1);
    make_known(sent, 1);
    set_ctp(1, 77);
    EXPECT_EQ(send(sent).port, 77) << "set without a flush";
    EXPECT_EQ(send(sent).port, 77);
    EXPECT_TRUE(is_remembered(sent));
    gpon::host::proc_write("clean raw_data 268 1");
    EXPECT_EQ(send(sent).port, 0) << "an instance cleaned by hand";
    EXPECT_EQ(send(sent).port, 0);
    EXPECT_FALSE(is_remembered(sent)) << "its step fails";
    set_ctp(1, 78);
    EXPECT_EQ(send(sent).port, 78) << "created without a flush";
    gpon::host::proc_write("clean raw_data");
    EXPECT_EQ(send(sent).port, 0) << "everything cleaned by hand";
    // A link that is filed creates what the ONU owns.
    learn(frame(0), 1, UP_UNI);
    send(frame(0), UP_UNI);
    const u64 before = gpon::current_generation();
    const gpon_me_related_update link = {.class_id = me_class::mbpcd,
                                         .entity_id = 1,
                                         .related_class_id = me_class::pptp,
                                         .related_inst_id = 0x101,
                                         .msg_type = ZR_OMCI_MSG_TYPE_SET};
    EXPECT_EQ(gpon_flow_me_general_update(&link), 0);
    EXPECT_EQ(gpon::current_generation(), before + 2);
    EXPECT_EQ(gpon_flow_me_general_update(&link), 0);
    EXPECT_EQ(gpon::current_generation(), before + 4) << "the link is filed once more";
}

// Sets the GEM port of CTP 1 as a command does, without its copy from user space.
void set_port_of_ctp_1()
{
    gpon_raw_gemctp raw = {};
    raw.instID = 1;
    raw.portID = 77;
    raw.direction = 3;
    const gpon_me_cmd cmd = gpon::test::command(ZR_OMCI_MSG_TYPE_SET, me_class::gemctp, 1, &raw);
    EXPECT_EQ(gpon_flow_list_add_inst(gpon_flow_me_get_by_classid(me_class::gemctp), &cmd), 0);
}

TEST_F(outcome, is_not_remembered_if_the_store_changed_during_the_replay)
{
    // The second CTP has no effect on the result; the store changes before it is read.
    gpon_raw_gemctp raw = {};
    raw.instID = 20;
    raw.direction = 2;
    apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, 20, &raw);
    const bytes sent = frame(1);
    const sk_buff skb = packet_of(sent);
    gpon_walk_result walked = {};
    walked.trace = {{{me_class::gemctp, 1}, {me_class::gemctp, 20}}};
    EXPECT_EQ(gpon_rule_generate_trace(&skb, UP_ANI, &walked), 0);
    gpon::host::call_at_allocation(2, set_port_of_ctp_1);
    EXPECT_EQ(send(sent).port, port_of(1)) << "read before the change";
    EXPECT_TRUE(gpon::host::fault_fired(gpon::host::fault::alloc));
    EXPECT_EQ(send(sent).port, 77);
    EXPECT_TRUE(is_remembered(sent));
    EXPECT_EQ(send(sent).port, 77);
}

TEST_F(outcome, a_sweep_has_the_frame_mark_its_rule_anew)
{
    const bytes sent = frame(1);
    make_known(sent, 1);
    for (int period = 0; period < 4; ++period) {
        gpon::host::advance(GPON_HASH_AGING_PERIOD);
        EXPECT_EQ(gpon_hash_table_record.total_num, 1u) << "used in each period";
        EXPECT_FALSE(is_remembered(sent));
        EXPECT_TRUE(is_remembered(sent));
    }
    gpon::host::advance(2 * GPON_HASH_AGING_PERIOD);
    EXPECT_EQ(gpon_hash_table_record.total_num, 0u);
    EXPECT_EQ(send(sent).result, -1) << "there is no graph to walk";
}

TEST_F(outcome, ends_with_its_rule)
{
    const bytes sent = frame(1);
    make_known(sent, 1);
    gpon_hash_delete_node_safe(hash_of(sent, UP_ANI), 0);
    EXPECT_EQ(send(sent).result, -1) << "deleted";
    make_known(sent, 1);
    learn(sent, 2);
    EXPECT_EQ(send(sent).port, port_of(2)) << "overwritten";
    EXPECT_TRUE(is_remembered(sent));
    gpon::host::proc_write("clean flow_rule 0 0");
    EXPECT_EQ(send(sent).result, -1) << "cleaned";
}

TEST_F(outcome, learning_the_same_steps_again_ends_none)
{
    make_known(frame(1), 1);
    make_known(frame(2), 2);
    const u64 before = gpon::current_generation();
    learn(frame(1), 1);
    EXPECT_EQ(gpon::current_generation(), before) << "as two CPUs learn a flow";
    EXPECT_TRUE(is_remembered(frame(1)));
    EXPECT_TRUE(is_remembered(frame(2)));
    learn(frame(1), 3);
    EXPECT_GT(gpon::current_generation(), before) << "other steps";
}

TEST_F(outcome, learning_the_same_steps_again_marks_the_rule)
{
    make_known(frame(1), 1);
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    learn(frame(1), 1);
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    EXPECT_EQ(gpon_hash_table_record.total_num, 1u);
}

TEST_F(outcome, a_table_that_grows_ends_all)
{
    make_known(frame(1), 1);
    const u64 before = gpon::current_generation();
    for (u8 station = 2; gpon_hash_table_record.table_size == GPON_HASH_MIN_SIZE; ++station)
        learn(frame(0, 60, station), 1, DOWN_UNI);
    EXPECT_GT(gpon::current_generation(), before) << "the new table may have no place for a rule";
}

TEST_F(outcome, new_rules_end_none)
{
    make_known(frame(1), 1);
    for (u8 station = 2; station < 20; ++station)
        learn(frame(0, 60, station), 1, DOWN_UNI);
    EXPECT_TRUE(is_remembered(frame(1)));
}

} // namespace
