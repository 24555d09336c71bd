// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "links.h"

#include "../base/log.h"

namespace {

using gpon::load_related_id;
using gpon::store_related_id;

// Size of the arrays: the size of a node, not of an entry, for each place.
constexpr size_t BYTES_A_PLACE = sizeof(gpon_me_inst);

void record(gpon_me_related_id& entry, u16 id) GPON_CHANGES_LISTS
{
    store_related_id(entry, {.instExist = 1, .instId = id});
}

// Each of the three returns true if it changed the row.
bool link_created(gpon_me_related_info& row, u16 id, log_context log) GPON_CHANGES_LISTS
{
    bool changed = false;
    for (i32 i = 0; i < row.related_inst_num; ++i) {
        if (load_related_id(row.related_ids[i]).instExist != 0)
            continue;
        log.trace("[%s][%d] index = %d, entity id %04x\r\n", i, id);
        record(row.related_ids[i], id);
        changed = true;
        break;
    }
    log.trace("[%s][%d]: ZR_OMCI_MSG_TYPE_CREAT done\n");
    return changed;
}

enum class recorded { now, before, no_room };

recorded record_once(gpon_me_related_info& row, u16 id, log_context log) GPON_CHANGES_LISTS
{
    for (i32 i = 0; i < row.related_inst_num; ++i) {
        const gpon_me_related_id entry = load_related_id(row.related_ids[i]);
        if (entry.instExist == 0) {
            record(row.related_ids[i], id);
            return recorded::now;
        }
        if (entry.instId == id) {
            log.trace("[%s][%d] Related Instance Already exist,index = %d, entity id %04x\r\n", i,
                      id);
            return recorded::before;
        }
    }
    return recorded::no_room;
}

bool link_set(gpon_me_related_info& row, u16 id, log_context log) GPON_CHANGES_LISTS
{
    const recorded result = record_once(row, id, log);
    if (result == recorded::no_room)
        log.warning("[%s][%d] Related Instance buffer is full,related_inst_num =%d\r\n",
                    row.related_inst_num);
    log.trace("[%s][%d]: ZR_OMCI_MSG_TYPE_SET done\n");
    return result == recorded::now;
}

void close_gap(gpon_me_related_info& row, i32 at) GPON_CHANGES_LISTS
{
    const i32 last = row.related_inst_num - 1;
    for (i32 i = at; i < last; ++i)
        store_related_id(row.related_ids[i], load_related_id(row.related_ids[i + 1]));
    store_related_id(row.related_ids[last], {});
}

bool link_deleted(gpon_me_related_info& row, u16 id, log_context log) GPON_CHANGES_LISTS
{
    bool changed = false;
    for (i32 i = 0; i < row.related_inst_num; ++i) {
        if (load_related_id(row.related_ids[i]).instId != id)
            continue;
        log.trace("[%s][%d] Delete, index = %d, entity id %04x\r\n", i, id);
        changed = load_related_id(row.related_ids[i]).instExist != 0;
        close_gap(row, i);
        break;
    }
    log.trace("[%s][%d]: ZR_OMCI_MSG_TYPE_DELETE done\n");
    return changed;
}

} // namespace

i32 gpon_flow_list_alloc_related_data(gpon_me_related_info* dst, const gpon_me_related_info* table,
                                      i32 size)
{
    if (!dst || !table) {
        log_error("[%s][%d] input parament is NULL\r\n");
        return -1;
    }
    gpon::copy_bytes(dst, table, static_cast<size_t>(size));
    for (gpon_me_related_info* row = dst; row->related_class_id != me_class::none; ++row) {
        const size_t bytes = static_cast<size_t>(row->related_inst_num) * BYTES_A_PLACE;
        row->related_ids = static_cast<gpon_me_related_id*>(kzalloc(bytes, GFP_ATOMIC));
        if (!row->related_ids) {
            log_error("[%s][%d] kzalloc fail\r\n");
            gpon_flow_list_free_related_data(dst);
            return -1;
        }
    }
    return 0;
}

void gpon_flow_list_free_related_data(gpon_me_related_info* related)
{
    if (!related) {
        log_error("[%s][%d] input parament is NULL\r\n");
        return;
    }
    for (gpon_me_related_info* row = related; row->related_class_id != me_class::none; ++row)
        kfree(row->related_ids);
}

bool gpon_flow_list_update_related_id(gpon_me_related_info* related,
                                      const gpon_me_related_update* update)
{
    const log_context log = log_context::here();
    log.trace("[%s][%d]: Enter\n");
    if (!related || !update) {
        log.error("[%s][%d] input parament is NULL\r\n");
        return false;
    }
    log.trace("[%s][%d]: class_id(%d), related_class_id(%d)\n", update->class_id,
              update->related_class_id);
    gpon_me_related_info* row = gpon::find_row(related, update->class_id);
    if (row->related_class_id == me_class::none) {
        log.error("[%s][%d] Without Related ME\r\n");
        return false;
    }
    log.trace("[%s][%d]: get related entry, class_id(%d), related_class_id(%d)\n", update->class_id,
              update->related_class_id);
    log.trace("[%s][%d]: msg_type = %d\n", update->msg_type);
    bool changed = false;
    switch (update->msg_type) {
    case ZR_OMCI_MSG_TYPE_CREAT:
        changed = link_created(*row, update->entity_id, log);
        break;
    case ZR_OMCI_MSG_TYPE_SET:
        changed = link_set(*row, update->entity_id, log);
        break;
    case ZR_OMCI_MSG_TYPE_DELETE:
        changed = link_deleted(*row, update->entity_id, log);
        break;
    default:
        log.error("[%s][%d] action error\r\n");
        return false;
    }
    log.error("[%s][%d] update relate id Success\r\n");
    return changed;
}
