// SPDX-License-Identifier: GPL-2.0-only
// The numbers by which walks and outcomes notice a change of the store.
#include "tests/unit/outcome_fixture.h"

#include <vector>

#include "hash/outcome_table.h"
#include "me/link_update.h"

namespace {

using testing::IsEmpty;

TEST_F(outcome, a_walk_is_learnt_although_a_rule_is_lost_meanwhile)
{
    const gpon_rule_trace steps = {{{me_class::gemctp, 1}}};
    const u8 key[GPON_RULE_KEY_HEAD] = {1};
    const u64 began = gpon::current_store();
    const u64 generation = gpon::current_generation();
    gpon_hash_clean_all_safe();
    EXPECT_NE(gpon::current_generation(), generation);
    EXPECT_EQ(gpon::current_store(), began);
    EXPECT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &steps, began), 0);
    EXPECT_EQ(gpon_hash_table_record.total_num, 1u);
}

// The changes of the store of one action, and of the reported events those that found it at rest.
class watched_changes {
public:
    watched_changes()
    {
        gpon::host::set_observer([this](const gpon_event& event) {
            ++events_;
            if (gpon::is_at_rest(gpon::current_store()))
                at_rest_.push_back(event.kind);
        });
    }
    ~watched_changes() { gpon::host::set_observer(nullptr); }
    watched_changes(const watched_changes&) = delete;
    watched_changes& operator=(const watched_changes&) = delete;

    // Each change adds 2 to the number of the store.
    void expect_one() const
    {
        EXPECT_EQ(gpon::current_store(), before_ + 2);
        EXPECT_GT(events_, 0);
        EXPECT_THAT(at_rest_, IsEmpty()) << "all of it is inside of the change";
    }

private:
    const u64 before_ = gpon::current_store();
    int events_ = 0;
    std::vector<u32> at_rest_;
};

TEST_F(outcome, each_function_that_changes_the_store_is_one_change)
{
    const gpon_raw_mbsp raw = {
        .instID = 5, .uniBridgingEnable = 0, .helloTime = 0, .dynFilterAgingTime = 0};
    const gpon_me_cmd cmd = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, 5, &raw);
    const gpon_me_entry* bridges = gpon_flow_me_get_by_classid(me_class::mbsp);
    for (const auto change : {"new", "replaced"}) {
        SCOPED_TRACE(change);
        const watched_changes seen;
        EXPECT_EQ(gpon_flow_list_add_inst(bridges, &cmd), 0);
        seen.expect_one();
    }
    {
        SCOPED_TRACE("link");
        const gpon_me_related_update link = {.class_id = me_class::mbpcd,
                                             .entity_id = 1,
                                             .related_class_id = me_class::mbsp,
                                             .related_inst_id = 5,
                                             .msg_type = ZR_OMCI_MSG_TYPE_CREAT};
        const watched_changes seen;
        EXPECT_EQ(gpon_flow_me_general_update(&link), 0);
        seen.expect_one();
    }
    const watched_changes seen;
    EXPECT_EQ(gpon_flow_list_delete_inst(bridges, 5, 0), 0);
    seen.expect_one();
}

TEST_F(outcome, a_command_is_one_change_of_the_store_with_its_flush)
{
    gpon::test::create_bridge(1);
    learn(frame(1), 1);
    {
        const watched_changes seen;
        gpon::test::create_port(0x1001, 1, 5, 0x11);
        seen.expect_one();
    }
    learn(frame(1), 1);
    const watched_changes seen;
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_CLEAN;
    EXPECT_EQ(gpon_flow_dispatch_omci_cmd(&record), 0);
    seen.expect_one();
}

TEST_F(outcome, an_operators_deletion_is_one_change_of_the_store)
{
    gpon::test::create_bridge(1);
    gpon::test::create_port(0x1001, 1, 5, 0x11);
    {
        // Its handlers update the links to the bridge and to the termination point.
        const watched_changes seen;
        gpon::host::proc_write("clean raw_data 47 1001");
        seen.expect_one();
    }
    const watched_changes seen;
    gpon_flow_clean_all_me_inst();
    seen.expect_one();
}

TEST_F(outcome, a_walk_is_learnt_only_while_the_store_keeps_its_number)
{
    const gpon_rule_trace steps = {{{me_class::gemctp, 1}}};
    const u8 key[GPON_RULE_KEY_HEAD] = {1};
    const u64 began = gpon::current_store();
    EXPECT_TRUE(gpon::is_at_rest(began));
    {
        const gpon::store_change outer;
        const u64 during = gpon::current_generation();
        const u64 store_during = gpon::current_store();
        EXPECT_FALSE(gpon::is_at_rest(during));
        EXPECT_FALSE(gpon::is_at_rest(store_during));
        {
            const gpon::store_change inner;
            EXPECT_EQ(gpon::current_generation(), during);
            EXPECT_EQ(gpon::current_store(), store_during);
        }
        EXPECT_EQ(gpon::current_generation(), during) << "the outermost bracket counts";
        EXPECT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &steps, began), 0);
        EXPECT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &steps, store_during), 0);
        EXPECT_EQ(gpon_hash_table_record.total_num, 0u) << "a change is under way";
        const gpon::outcome_key packed = {1, 2, 3};
        gpon::known_outcome known = {};
        gpon::remember_outcome(packed, during, 5, {});
        EXPECT_FALSE(gpon::find_outcome(packed, during, &known)) << "nor is an outcome remembered";
        gpon_hash_clean_all_safe();
        EXPECT_FALSE(gpon::is_at_rest(gpon::current_generation()));
    }
    EXPECT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &steps, began), 0);
    EXPECT_EQ(gpon_hash_table_record.total_num, 0u) << "walked in a store that has changed";
    EXPECT_EQ(gpon_hash_add_node_safe(key, sizeof(key), &steps, gpon::current_store()), 0);
    EXPECT_EQ(gpon_hash_table_record.total_num, 1u);
}

} // namespace
