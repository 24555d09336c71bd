// SPDX-License-Identifier: GPL-2.0-only
// The list of bridges.
#include "tests/unit/class_fixture.h"

#include "me_class/mbsp_mac_bridge_service_profile.h"

namespace {

using testing::ElementsAre;

class bridge : public class_fixture {};

TEST_F(bridge, ids_are_in_list_order)
{
    u32 count = 99;
    gponDebugLevel = 1;
    EXPECT_EQ(get_mbsp_list_inst_id(nullptr), nullptr);
    EXPECT_EQ(get_mbsp_list_inst_id(&count), nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[get_mbsp_list_inst_id][0] arraySize is a NULL poniter\r",
                            "***ERROR***[get_mbsp_list_inst_id][0] mbspInstNum == 0\r"));
    for (const u16 id : u16s{5, 3, 4})
        gpon::test::create_bridge(id);
    EXPECT_EQ(get_mbsp_list_inst_num(), 3);
    log_lines();
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_EQ(get_mbsp_list_inst_id(&count), nullptr);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[get_mbsp_list_inst_id][0] kzalloc fail\r"));
    u16* ids = get_mbsp_list_inst_id(&count);
    ASSERT_NE(ids, nullptr);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(ids[0], 5);
    EXPECT_EQ(ids[1], 3);
    EXPECT_EQ(ids[2], 4);
    kfree(ids);
}

} // namespace
