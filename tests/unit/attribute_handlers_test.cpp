// SPDX-License-Identifier: GPL-2.0-only
// The common entry check of the attribute handlers.
#include "tests/unit/class_fixture.h"

#include "me_class/classes.h"
#include "me_class/mapper_802_1p_service_profile.h"

extern "C" {
i32 mbpcd_attr_tp_type_op(gpon_me_cmd* cmd);
i32 mbpcd_attr_mbsp_op(gpon_me_cmd* cmd);
i32 gem_ctp_attr_up_td_op(gpon_me_cmd* cmd);
i32 gem_ctp_attr_down_td_op(gpon_me_cmd* cmd);
i32 gem_attr_gem_ctp_op(gpon_me_cmd* cmd);
i32 multi_gem_attr_gem_ctp_op(gpon_me_cmd* cmd);
i32 pq_attr_tcont_op(gpon_me_cmd* cmd);
i32 pq_attr_pptp_op(gpon_me_cmd* cmd);
i32 pq_attr_ts_op(gpon_me_cmd* cmd);
i32 vtfd_attr_exist_op(gpon_me_cmd* cmd);
}

namespace {

using testing::ElementsAre;

struct named_handler {
    const char* name;
    i32 (*handle)(gpon_me_cmd*);
};

class attribute_handler : public class_fixture,
                          public testing::WithParamInterface<named_handler> {};

TEST_P(attribute_handler, reports_a_null_record_and_null_data)
{
    gpon_me_cmd cmd = gpon::test::command(CREATE, gpon::to_me_class(1), 1, nullptr);
    gponDebugLevel = 5;
    EXPECT_EQ(GetParam().handle(nullptr), -1);
    EXPECT_EQ(GetParam().handle(&cmd), -1);
    const std::string name = GetParam().name;
    const std::string enter = "***TRACE***[" + name + "][0]: Enter";
    const std::string null = "***ERROR***[" + name + "][0]Parameter is Null.";
    EXPECT_THAT(log_lines(), ElementsAre(enter, null, enter, null));
}

INSTANTIATE_TEST_SUITE_P(
    each, attribute_handler,
    testing::Values(named_handler{"mapper_attr_tp_type_op", mapper_attr_tp_type_op},
                    named_handler{"mapper_attr_gem_iw_tp_pbit", mapper_attr_gem_iw_tp_pbit},
                    named_handler{"mbpcd_attr_tp_type_op", mbpcd_attr_tp_type_op},
                    named_handler{"mbpcd_attr_mbsp_op", mbpcd_attr_mbsp_op},
                    named_handler{"gem_ctp_attr_up_td_op", gem_ctp_attr_up_td_op},
                    named_handler{"gem_ctp_attr_down_td_op", gem_ctp_attr_down_td_op},
                    named_handler{"gem_attr_gem_ctp_op", gem_attr_gem_ctp_op},
                    named_handler{"multi_gem_attr_gem_ctp_op", multi_gem_attr_gem_ctp_op},
                    named_handler{"pq_attr_tcont_op", pq_attr_tcont_op},
                    named_handler{"pq_attr_pptp_op", pq_attr_pptp_op},
                    named_handler{"pq_attr_ts_op", pq_attr_ts_op},
                    named_handler{"vtfd_attr_exist_op", vtfd_attr_exist_op}),
    [](const auto& handler) { return std::string(handler.param.name); });

} // namespace
