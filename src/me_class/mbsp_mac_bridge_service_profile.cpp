// SPDX-License-Identifier: GPL-2.0-only
#include "mbsp_mac_bridge_service_profile.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "forward_step.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_mbsp, instID, hex),
    GPON_FIELD(gpon_raw_mbsp, uniBridgingEnable, decimal),
    GPON_FIELD(gpon_raw_mbsp, helloTime, decimal),
    GPON_FIELD(gpon_raw_mbsp, dynFilterAgingTime, decimal),
};

constexpr gpon_me_related_info RELATED[] = {
    {.related_class_id = me_class::mbpcd, .name = "mbpcdInst", .related_inst_num = 512}, {}};
constexpr gpon_me_next_class NEXT[] = {{me_class::mbpcd, UP_ANI | UP_UNI | DOWN_ANI | DOWN_UNI},
                                       {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_mbsp_list = {&gpon_mbsp_list, &gpon_mbsp_list};

constinit const gpon_me_list_info mbspListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_mbsp),
    .related_info = RELATED,
    .related_info_size = sizeof(RELATED),
    .attr_ops = gpon::NO_ATTR_OPS,
    .head = &gpon_mbsp_list,
    .fields = FIELDS,
};
constinit const gpon_me_fwd_op mbspFwdOp = {.next_classes = NEXT, .forward = mbsp_forward};

i32 get_mbsp_list_inst_num(void)
{
    i32 count = 0;
    gpon::for_each_inst(&gpon_mbsp_list, [&](const gpon_me_inst*) { ++count; });
    return count;
}

u16* get_mbsp_list_inst_id(u32* count)
{
    log_trace("[%s][%d]: Enter\n");
    if (!count) {
        log_error("[%s][%d] arraySize is a NULL poniter\r\n");
        return nullptr;
    }
    *count = static_cast<u32>(get_mbsp_list_inst_num());
    if (*count == 0) {
        log_error("[%s][%d] mbspInstNum == 0\r\n");
        return nullptr;
    }
    gpon::owned<u16> ids = gpon::zalloc<u16>(*count);
    if (!ids) {
        log_error("[%s][%d] kzalloc fail\r\n");
        return nullptr;
    }
    // Bridges may have been added since they were counted.
    u32 filled = 0;
    gpon::for_each_inst(&gpon_mbsp_list, [&](const gpon_me_inst* inst) {
        if (filled < *count)
            ids[filled++] = inst->inst_id;
    });
    return ids.release();
}

i32 mbsp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result)
{
    if (!skb || !fwd_info || !result) {
        log_error("%s [%d]: Parameter is NULL: Fail\r\n");
        return -1;
    }
    result->ret_val = FLOW_PKT_FORWARD;
    return 0;
}
