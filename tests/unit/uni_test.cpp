// SPDX-License-Identifier: GPL-2.0-only
// Lookup of a UNI by its port.
#include "tests/unit/class_fixture.h"

#include "me_class/pptp_ethernet_uni.h"
#include "me_class/veip_virtual_ethernet_interface_point.h"

namespace {

using testing::ElementsAre;

class uni_look_up : public class_fixture {};

TEST_F(uni_look_up, returns_the_first_in_list_order_with_the_low_byte_of_the_id)
{
    u16 id = 0xaaaa;
    gponDebugLevel = 1;
    EXPECT_EQ(pptp_get_inst_id_by_port_id(1, &id), -1);
    EXPECT_EQ(veip_get_inst_id_by_port_id(200, &id), -1);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***pptp not found,port_id = 1",
                                         "***ERROR***VEIP not found,port_id = 200"));
    EXPECT_EQ(id, 0xaaaa);
    for (const u16 uni : u16s{0x0101, 0x0201, 0x0302}) {
        create(me_class::pptp, gpon_raw_pptp{.instID = uni});
        create(me_class::veip, gpon_raw_veip{.instID = uni});
    }
    EXPECT_EQ(pptp_get_inst_id_by_port_id(1, &id), 0);
    EXPECT_EQ(id, 0x0101);
    EXPECT_EQ(veip_get_inst_id_by_port_id(2, &id), 0);
    EXPECT_EQ(id, 0x0302);
}

} // namespace
