// SPDX-License-Identifier: GPL-2.0-only
#include "vtfd_vlan_tagging_filter_data.h"

#include "../include/tci.h"
#include "../pkt/header.h"
#include "attribute_handlers.h"
#include "classes.h"
#include "dump_columns.h"
#include "forward_step.h"

namespace {

constexpr gpon_me_field FIELDS[] = {
    GPON_FIELD(gpon_raw_vtfd, instID, hex),
    GPON_FIELD(gpon_raw_vtfd, vlanFilterList, decimal),
    GPON_FIELD(gpon_raw_vtfd, forwardOperation, hex),
    GPON_FIELD(gpon_raw_vtfd, vlanFilterNums, decimal),
};

// The filter belongs to the bridge port of the same id.
constexpr gpon_me_pointer BRIDGE_PORT = {
    .field = GPON_FIELD(gpon_raw_vtfd, instID, hex), .mask = 0xe000, .class_id = me_class::mbpcd};
constexpr gpon_me_pointer POINTERS[] = {BRIDGE_PORT};

constexpr u16 NO_MASK = 0;
constexpr u16 VID = gpon::TCI_VLAN;
constexpr u16 PRIORITY = gpon::TCI_PRIORITY;
constexpr u16 WHOLE_TCI = 0xffff;

using gpon::forward_operation;

// Two rows per code, the one for tagged frames first.
constexpr forward_operation FORWARD_OPERATIONS[] = {
    {0x00, 1, vtfd_action_pass, NO_MASK},
    {0x00, 0, vtfd_action_pass, NO_MASK},
    {0x01, 1, vtfd_action_drop, NO_MASK},
    {0x01, 0, vtfd_action_pass, NO_MASK},
    {0x02, 1, vtfd_action_pass, NO_MASK},
    {0x02, 0, vtfd_action_drop, NO_MASK},
    {0x03, 1, vtfd_action_h, VID},
    {0x03, 0, vtfd_action_pass, NO_MASK},
    {0x04, 1, vtfd_action_h, VID},
    {0x04, 0, vtfd_action_drop, NO_MASK},
    {0x05, 1, vtfd_action_g, VID},
    {0x05, 0, vtfd_action_pass, NO_MASK},
    {0x06, 1, vtfd_action_g, VID},
    {0x06, 0, vtfd_action_drop, NO_MASK},
    {0x07, 1, vtfd_action_h, PRIORITY},
    {0x07, 0, vtfd_action_pass, NO_MASK},
    {0x08, 1, vtfd_action_h, PRIORITY},
    {0x08, 0, vtfd_action_drop, NO_MASK},
    {0x09, 1, vtfd_action_g, PRIORITY},
    {0x09, 0, vtfd_action_pass, NO_MASK},
    {0x0a, 1, vtfd_action_g, PRIORITY},
    {0x0a, 0, vtfd_action_drop, NO_MASK},
    {0x0b, 1, vtfd_action_h, WHOLE_TCI},
    {0x0b, 0, vtfd_action_pass, NO_MASK},
    {0x0c, 1, vtfd_action_h, WHOLE_TCI},
    {0x0c, 0, vtfd_action_drop, NO_MASK},
    {0x0d, 1, vtfd_action_g, WHOLE_TCI},
    {0x0d, 0, vtfd_action_pass, NO_MASK},
    {0x0e, 1, vtfd_action_g, WHOLE_TCI},
    {0x0e, 0, vtfd_action_drop, NO_MASK},
    {0x0f, 1, vtfd_action_h, VID},
    {0x0f, 0, vtfd_action_pass, NO_MASK},
    {0x10, 1, vtfd_action_h, VID},
    {0x10, 0, vtfd_action_drop, NO_MASK},
    {0x11, 1, vtfd_action_h, PRIORITY},
    {0x11, 0, vtfd_action_pass, NO_MASK},
    {0x12, 1, vtfd_action_h, PRIORITY},
    {0x12, 0, vtfd_action_drop, NO_MASK},
    {0x13, 1, vtfd_action_h, WHOLE_TCI},
    {0x13, 0, vtfd_action_pass, NO_MASK},
    {0x14, 1, vtfd_action_h, WHOLE_TCI},
    {0x14, 0, vtfd_action_drop, NO_MASK},
    {0x15, 1, vtfd_action_pass, NO_MASK},
    {0x15, 0, vtfd_action_drop, NO_MASK},
    {0x16, 1, vtfd_action_reserved, VID},
    {0x16, 0, vtfd_action_pass, NO_MASK},
    {0x17, 1, vtfd_action_reserved, VID},
    {0x17, 0, vtfd_action_drop, NO_MASK},
    {0x18, 1, vtfd_action_reserved, PRIORITY},
    {0x18, 0, vtfd_action_pass, NO_MASK},
    {0x19, 1, vtfd_action_reserved, PRIORITY},
    {0x19, 0, vtfd_action_drop, NO_MASK},
    {0x1a, 1, vtfd_action_reserved, WHOLE_TCI},
    {0x1a, 0, vtfd_action_pass, NO_MASK},
    {0x1b, 1, vtfd_action_reserved, WHOLE_TCI},
    {0x1b, 0, vtfd_action_drop, NO_MASK},
    {0x1c, 1, vtfd_action_h, VID},
    {0x1c, 0, vtfd_action_pass, NO_MASK},
    {0x1d, 1, vtfd_action_h, VID},
    {0x1d, 0, vtfd_action_drop, NO_MASK},
    {0x1e, 1, vtfd_action_h, PRIORITY},
    {0x1e, 0, vtfd_action_pass, NO_MASK},
    {0x1f, 1, vtfd_action_h, PRIORITY},
    {0x1f, 0, vtfd_action_drop, NO_MASK},
    {0x20, 1, vtfd_action_h, WHOLE_TCI},
    {0x20, 0, vtfd_action_pass, NO_MASK},
    {0x21, 1, vtfd_action_h, WHOLE_TCI},
    {0x21, 0, vtfd_action_drop, NO_MASK},
};
static_assert(std::size(FORWARD_OPERATIONS) == 68);

consteval bool rows_are_in_order()
{
    for (size_t i = 0; i < std::size(FORWARD_OPERATIONS); ++i)
        if (FORWARD_OPERATIONS[i].code != i / 2 || FORWARD_OPERATIONS[i].tagged != (i + 1) % 2)
            return false;
    return true;
}
static_assert(rows_are_in_order(), "find_forward_operation computes the row");

} // namespace

const gpon::forward_operation* gpon::find_forward_operation(u8 code, bool tagged)
{
    const size_t row = code * 2u + (tagged ? 0 : 1);
    return row < std::size(FORWARD_OPERATIONS) ? &FORWARD_OPERATIONS[row] : nullptr;
}

u16 gpon::list_entry(const gpon_raw_vtfd* me, u32 index)
{
    const size_t at = offsetof(gpon_raw_vtfd, vlanFilterList) + index * sizeof(u16);
    if (at + sizeof(u16) > sizeof(*me))
        return 0;
    return load_unaligned<u16>(reinterpret_cast<const u8*>(me) + at);
}

bool gpon::is_listed(u16 tci, const gpon_raw_vtfd* me, u16 mask)
{
    for (u32 i = 0; i < me->vlanFilterNums; ++i)
        if ((tci & mask) == (list_entry(me, i) & mask))
            return true;
    return false;
}

namespace {

const gpon_me_inst* find_filter(const op_info* op) GPON_READS_LISTS
{
    const gpon_me_inst* none = nullptr;
    return gpon::find_inst_after(&gpon_vtfd_list, op->related_inst_id,
                                 op->walk ? op->walk->last_filter : none);
}

i32 vtfd_handle(const sk_buff* skb, const gpon_raw_vtfd* me)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: enter\n");
    u16 tci = 0;
    gpon_pkt_get_outer_vlan_tci(skb, &tci);
    const u8 tagged = tci != 0;
    log.trace("[%s][%d]: forwardOperation=0x%x,vlanTci=0x%x,tagFlag=%x\n", me->forwardOperation,
              tci, tagged);
    const forward_operation* row = gpon::find_forward_operation(me->forwardOperation, tagged);
    if (!row) {
        log.error("[%s][%d]: end, return -1\n");
        return -1;
    }
    if (row->action(tci, me, row->mask) != 0)
        return -1;
    log.trace("[%s][%d]: end, return 0\n");
    return 0;
}

} // namespace

extern "C" {

i32 vtfd_attr_exist_op(gpon_me_cmd* cmd)
{
    if (!gpon::enter_handler<gpon_raw_vtfd>(cmd))
        return -1;
    return gpon::report_link(cmd, {me_class::vtfd, cmd->inst_id},
                             {BRIDGE_PORT.class_id, cmd->inst_id});
}
}

namespace {

constexpr gpon_me_attr_op ATTR_OPS[] = {{BRIDGE_PORT.mask, vtfd_attr_exist_op}, {}};

} // namespace

GPON_MODULE_DATA constinit list_head gpon_vtfd_list = {&gpon_vtfd_list, &gpon_vtfd_list};

constinit const gpon_me_list_info vtfdListInfo = {
    .dump_raw = gpon::dump_fields,
    .raw_size = sizeof(gpon_raw_vtfd),
    .related_info = gpon::NOTHING_RELATED,
    .related_info_size = sizeof(gpon::NOTHING_RELATED),
    .attr_ops = ATTR_OPS,
    .head = &gpon_vtfd_list,
    .fields = FIELDS,
    .pointers = POINTERS,
};

i32 vtfd_action_pass(u16, const gpon_raw_vtfd*, u16)
{
    return 0;
}

i32 vtfd_action_drop(u16, const gpon_raw_vtfd*, u16)
{
    return -1;
}

i32 vtfd_action_reserved(u16, const gpon_raw_vtfd*, u16)
{
    return 0;
}

i32 vtfd_action_h(u16 tci, const gpon_raw_vtfd* me, u16 mask)
{
    if (!me) {
        log_error("[%s][%d]: Parameter is NULL: Fail\r\n");
        return -1;
    }
    if (!gpon::is_listed(tci, me, mask)) {
        log_trace("[%s][%d]: end, return -1\n");
        return -1;
    }
    log_trace("[%s][%d]: end, return 0, vlanTci=%d\n", tci);
    return 0;
}

i32 vtfd_action_g(u16 tci, const gpon_raw_vtfd* me, u16 mask)
{
    if (!me) {
        log_error("%s [%d]: Parameter is NULL: Fail\r\n");
        return -1;
    }
    return gpon::is_listed(tci, me, mask) ? -1 : 0;
}

i32 vtfd_filter_handle(const sk_buff* skb, const op_info* op)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: enter\n");
    if (!skb || !op) {
        log_error("[%s][%d]: Parameter is NULL: Fail\r\n");
        return -1;
    }
    gpon::raw_record<gpon_raw_vtfd> me(op->walk ? &op->walk->memory : nullptr);
    if (!me || !me.read(find_filter(op)))
        return gpon::refuse_unread(op);
    if (!(op->fwd_flag & (UP_ANI | DOWN_ANI))) {
        log.error("[%s][%d]: op_info->fwd_flag(%d): Fail\r\n", op->fwd_flag);
        return -1;
    }
    return vtfd_handle(skb, me.get());
}
