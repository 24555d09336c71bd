// SPDX-License-Identifier: GPL-2.0-only
// The priority queue: its T-CONT or UNI, and the defaults of a queue that a link creates.
#include "tests/unit/class_fixture.h"

#include "me/default_config.h"
#include "me_class/classes.h"

extern "C" {
i32 pq_fill_raw_data(void* raw);
}

namespace {

using gpon::test::recorded;
using testing::ElementsAre;
using testing::IsEmpty;

class priority_queue : public class_fixture {};

TEST_F(priority_queue, belongs_to_a_tcont_from_the_boundary_on)
{
    gpon_flow_cfg_data.related_port_boundary = 0x80000000;
    gpon_raw_pq queue = {.instID = 3, .relatedPort = 0x80000000, .tsPointer = 0, .weight = 0};
    create(me_class::pq, queue, 0x0400);
    EXPECT_THAT(recorded(me_class::tcont, 0x8000, me_class::pq), ElementsAre(3));
    EXPECT_THAT(gpon::test::ids_of(gpon_pptp_uni_list), IsEmpty());
    queue.relatedPort = 0x7fffffff;
    create(me_class::pq, queue, 0x0400);
    EXPECT_THAT(recorded(me_class::pptp, 0x7fff, me_class::pq), ElementsAre(3));
}

TEST_F(priority_queue, created_by_a_link_derives_its_port_from_its_id)
{
    EXPECT_EQ(pq_fill_raw_data(nullptr), -1);
    gpon_flow_cfg_data.upstream_queue_num = 16;
    gpon_flow_cfg_data.queues_per_tcont = 8;
    gpon_flow_cfg_data.tcont_base = 0x8000;
    gpon_flow_cfg_data.downstream_queue_base = 16;
    gpon_flow_cfg_data.queues_per_uni = 4;
    gpon_flow_cfg_data.default_ts_pointer = 0x8009;
    gpon_flow_cfg_data.default_weight = 3;
    const auto port_of = [](u16 id) {
        gpon_raw_pq queue = {.instID = id, .relatedPort = 0, .tsPointer = 0, .weight = 0};
        EXPECT_EQ(pq_fill_raw_data(&queue), 0);
        EXPECT_EQ(queue.tsPointer, 0x8009);
        EXPECT_EQ(queue.weight, 3);
        return queue.relatedPort;
    };
    EXPECT_EQ(port_of(0), 0x80010000u);
    EXPECT_EQ(port_of(15), 0x80020007u);
    EXPECT_EQ(port_of(16), 0x00100007u);
    EXPECT_EQ(port_of(23), 0x00110004u);
    gpon_flow_cfg_data.queues_per_tcont = 0;
    gpon_flow_cfg_data.queues_per_uni = 0;
    EXPECT_EQ(port_of(5), 0x80010005u);
    EXPECT_EQ(port_of(17), 0x00100006u);
}

} // namespace
