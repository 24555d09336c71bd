// SPDX-License-Identifier: GPL-2.0-only
#include "mbsp_mac_bridge_service_profile.h"

#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "forward_step.h"

namespace {

i32 dump_raw(const void* raw, char* values, char* header, char* extra, i32 length)
{
    if (!raw || !values || !header || !extra)
        return 0;
    const auto& me = *static_cast<const gpon_raw_mbsp*>(raw);
    return gpon::field_row(values, header, length)
        .hex("instID", 10, gpon::X4, me.instID)
        .dec("uniBridgingEnable", 17, me.uniBridgingEnable)
        .dec("helloTime", 10, me.helloTime)
        .dec("dynFilterAgingTime", 18, me.dynFilterAgingTime)
        .end();
}

constexpr gpon_me_related_info RELATED[] = {{47, "mbpcdInst", nullptr, 512}, {}};
static_assert(sizeof(RELATED) == 176);
constexpr gpon_me_next_class NEXT[] = {{47, UP_ANI | UP_UNI | DOWN_ANI | DOWN_UNI}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_mbsp_list = {&gpon_mbsp_list, &gpon_mbsp_list};

constinit const gpon_me_list_info mbspListInfo = {
    dump_raw, sizeof(gpon_raw_mbsp), RELATED,        gpon::table_bytes(RELATED),
    nullptr,  gpon::NO_ATTR_OPS,     &gpon_mbsp_list};
constinit const gpon_me_fwd_op mbspFwdOp = {NEXT, mbsp_forward};

i32 get_mbsp_list_inst_num(void)
{
    i32 count = 0;
    gpon::find_if(&gpon_mbsp_list, [&](const gpon_me_inst*) {
        ++count;
        return false;
    });
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
    gpon::find_if(&gpon_mbsp_list, [&](const gpon_me_inst* inst) {
        if (filled < *count)
            ids[filled++] = inst->inst_id;
        return filled == *count;
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
