// SPDX-License-Identifier: GPL-2.0-only
#include "command.h"

#include "../base/log.h"
#include "../base/memory.h"
#include "../hash/rule_table.h"
#include "../include/debug_entry.h"
#include "list.h"
#include "registry.h"

GPON_MODULE_DATA constinit struct gpon_flow_cfg_data gpon_flow_cfg_data = {};

static_assert(GPON_DBG_WORDS == GPON_FLOW_DEBUG_WORDS &&
              GPON_DBG_WORD_BYTES == GPON_FLOW_DEBUG_WORD_BYTES);

namespace {

const void* user_address(u64 address)
{
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(address));
}

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

// Both brackets begin before the flush: what is walked from here on is not learnt until the last
// change has been made.
i32 run_me_command(gpon_me_cmd* cmd)
{
    const gpon::store_change change;
    gpon_hash_clean_all_safe();
    return gpon_flow_me_handle(cmd);
}

i32 clean_all()
{
    const gpon::store_change change;
    gpon_hash_clean_all_safe();
    return gpon_flow_clean_all_me_inst();
}

i32 run_debug_words(const gpon_flow_cmd& record)
{
    gpon_dbg_words words = {};
    u32 count = 0;
    for (; count < GPON_DBG_WORDS; ++count) {
        char* word = words.text[count];
        if (copy_from_user(word, user_address(record.args[count]), GPON_DBG_WORD_BYTES) != 0)
            break;
        word[GPON_DBG_WORD_BYTES - 1] = '\0';
        words.argv[count] = word;
    }
    return static_cast<i32>(gpon_dbg_parsing_cmd(count, words.argv));
}

} // namespace

i32 gpon_flow_dispatch_omci_cmd(const void* user_record)
{
    gpon_flow_cmd record;
    if (copy_from_user(&record, user_record, sizeof(record)) != 0)
        return -1;
    switch (record.cmd) {
    case GPON_FLOW_CMD_ME:
        return run_me_command(&record.me);
    case GPON_FLOW_CMD_CFG_DATA:
        return gpon_flow_load_cfg_data(user_address(record.cfg_data));
    case GPON_FLOW_CMD_DEBUG:
        return run_debug_words(record);
    case GPON_FLOW_CMD_CLEAN:
        return clean_all();
    default:
        log_error("gpon_flow_dispatch_omci_cmd: Without CMD: %d\r\n", record.cmd);
        return -1;
    }
}

i32 gpon_flow_load_cfg_data(const void* user_cfg)
{
    gpon_flow_cfg_data = {};
    if (!user_cfg) {
        log_error("default cfg ptr is NULL\n");
        return -1;
    }
    struct gpon_flow_cfg_data loaded;
    if (copy_from_user(&loaded, user_cfg, sizeof(loaded)) != 0)
        return -1;
    gpon_flow_cfg_data = loaded;
    log_trace("[%s][%d]set default data\n");
    return 0;
}

i32 gpon_flow_me_handle(gpon_me_cmd* cmd)
{
    log_trace("Enter [%s][%d] \n");
    const gpon_me_entry* entry = gpon_flow_me_get_by_classid(cmd->class_id);
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
