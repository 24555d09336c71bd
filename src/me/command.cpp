// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "command.h"

#include "../base/log.h"
#include "../base/memory.h"
#include "list.h"
#include "registry.h"

namespace {

void point_at(gpon_me_cmd* cmd, const void* raw)
{
    cmd->attr_data = reinterpret_cast<uintptr_t>(raw);
}

template <typename Selected>
void run_handlers(const gpon_me_attr_op* ops, gpon_me_cmd* cmd, Selected selected)
{
    for (; ops->mask != 0; ++ops)
        if (ops->handler && selected(ops->mask))
            ops->handler(cmd);
}

} // namespace

i32 gpon_flow_me_handle(gpon_me_cmd* cmd)
{
    log_trace("Enter [%s][%d] \n");
    const gpon_me_entry* entry = gpon_flow_me_get_by_classid(gpon::to_me_class(cmd->class_id));
    if (!entry) {
        log_error("[%s][%d]the classId(%d) can not get the entry.\n", cmd->class_id);
        return -1;
    }
    switch (cmd->msg_type) {
    case ZR_OMCI_MSG_TYPE_DELETE:
        return gpon_flow_me_general_delete(entry, cmd);
    case ZR_OMCI_MSG_TYPE_SET:
        return gpon_flow_me_general_set(entry, cmd);
    case ZR_OMCI_MSG_TYPE_CREAT:
        return gpon_flow_me_general_create(entry, cmd);
    default:
        log_error("unkown msg type %d\n", cmd->msg_type);
        return 0;
    }
}

i32 gpon_flow_me_general_set(const gpon_me_entry* entry, gpon_me_cmd* cmd)
{
    log_trace("[%s][%d]: Enter\n");
    return gpon_flow_me_general_create(entry, cmd);
}

i32 gpon_flow_me_general_create(const gpon_me_entry* entry, gpon_me_cmd* cmd)
{
    log_trace("[%s][%d]: Enter\n");
    if (!entry || !entry->list_info || !cmd) {
        log_error("[%s][%d]Parameter is Null.\n");
        return -1;
    }
    const gpon_me_list_info& info = *entry->list_info;
    const gpon::owned<u8> raw = gpon::zalloc_bytes(info.raw_size);
    if (!raw)
        return -1;
    if (copy_from_user(raw.get(), gpon::attr_data(cmd), static_cast<size_t>(info.raw_size)) != 0)
        return -1;
    point_at(cmd, raw.get());
    if (!info.attr_ops) {
        log_trace("[%s][%d]: Do nothing for this attribute.\n");
        return 0;
    }
    if (gpon_flow_list_add_inst(entry, cmd) != 0) {
        log_error("[%s][%d]: Add to list fail\n");
        return -1;
    }
    run_handlers(info.attr_ops, cmd, [=](u16 mask) { return (mask & cmd->attr_mask) != 0; });
    return 0;
}

i32 gpon_flow_me_general_delete(const gpon_me_entry* entry, gpon_me_cmd* cmd)
{
    log_trace("[%s][%d]: Enter\n");
    if (!entry || !cmd) {
        log_error("[%s][%d]Parameter is Null.\n");
        return -1;
    }
    if (!entry->list_info)
        return 0;
    const gpon_me_list_info& info = *entry->list_info;
    if (!info.attr_ops)
        return gpon_flow_list_delete_inst(entry, cmd->inst_id, 0);
    const gpon::owned<u8> raw = gpon::zalloc_bytes(info.raw_size);
    if (!raw)
        return -1;
    gpon_flow_list_get_raw(info.head, cmd->inst_id, raw.get(), info.raw_size);
    point_at(cmd, raw.get());
    run_handlers(info.attr_ops, cmd, [](u16) { return true; });
    return gpon_flow_list_delete_inst(entry, cmd->inst_id, 0);
}
