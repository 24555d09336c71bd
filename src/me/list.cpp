// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "list.h"

#include "../base/log.h"
#include "../base/memory.h"
#include "../hash/generation.h"
#include "links.h"
#include "registry.h"

namespace {

// Value that a kernel writes to the back link of a node that is removed while readers may still use
// the list.
list_head* const POISON_PREV = reinterpret_cast<list_head*>(0x122);

void unlink(list_head& link) GPON_CHANGES_LISTS
{
    link.next->prev = link.prev;
    gpon::rcu_assign_pointer(link.prev->next, link.next);
    link.prev = POISON_PREV;
}

gpon_me_inst* inst_of_rcu(rcu_head* head)
{
    return reinterpret_cast<gpon_me_inst*>(reinterpret_cast<u8*>(head) -
                                           offsetof(gpon_me_inst, rcu));
}

std::span<u8> bytes_at(void* out, i32 length)
{
    return {static_cast<u8*>(out), static_cast<size_t>(length)};
}

void free_node(rcu_head* head)
{
    kfree(inst_of_rcu(head));
}

void free_inst(rcu_head* head)
{
    gpon_me_inst* inst = inst_of_rcu(head);
    kfree(inst->raw);
    gpon_flow_list_free_related_data(inst->related);
    kfree(inst->related);
    kfree(inst);
}

[[nodiscard]] i32 replace_raw(gpon_me_inst* old, std::span<const u8> raw) GPON_CHANGES_LISTS
{
    gpon::owned<gpon_me_inst> copy = gpon::zalloc<gpon_me_inst>();
    if (!copy)
        return -1;
    *copy = *old;
    gpon::copy_to_shared(copy->raw, raw.data(), raw.size());
    gpon::replace(old, copy.release());
    return 0;
}

void raw_to(const gpon_me_inst* inst, std::span<u8> out) GPON_READS_LISTS
{
    if (inst)
        gpon::copy_from_shared(out.data(), inst->raw, out.size());
}

void related_data_to(const gpon_me_inst* inst, std::span<u8> out) GPON_READS_LISTS
{
    if (inst)
        gpon::copy_bytes(out.data(), inst->related, out.size());
}

} // namespace

void gpon::report_instance(me_class class_id, u16 inst_id, gpon_instance_change change)
{
    if (!wants_events())
        return;
    gpon_event event = {};
    event.kind = GPON_EVENT_INSTANCE_CHANGED;
    event.cause = change;
    event.class_id = class_number(class_id);
    event.inst_id = inst_id;
    send_event(&event);
}

void gpon::append(list_head* head, gpon_me_inst* inst)
{
    list_head* last = head->prev;
    inst->link.next = head;
    inst->link.prev = last;
    rcu_assign_pointer(last->next, &inst->link);
    head->prev = &inst->link;
}

void gpon::replace(gpon_me_inst* old, gpon_me_inst* copy)
{
    copy->link.next = old->link.next;
    copy->link.prev = old->link.prev;
    rcu_assign_pointer(copy->link.prev->next, &copy->link);
    copy->link.next->prev = &copy->link;
    old->link.prev = POISON_PREV;
    call_rcu(&old->rcu, free_node);
}

i32 gpon_flow_list_add_inst(const gpon_me_entry* entry, const gpon_me_cmd* cmd)
{
    log_trace("[%s][%d]: Enter\n");
    const gpon_me_list_info* info = entry ? entry->list_info : nullptr;
    if (!info || !info->head || !info->related_info || !cmd) {
        log_error("[%s][%d] input parament is NULL\r\n");
        return -1;
    }
    const gpon::store_change change;
    const std::span raw(static_cast<const u8*>(gpon::attr_data(cmd)),
                        static_cast<size_t>(info->raw_size));
    if (gpon_me_inst* old = gpon::find_inst(info->head, cmd->inst_id)) {
        log_warning("[%s][%d]: Already exist entity id %04x\r\n", cmd->inst_id);
        if (replace_raw(old, raw) != 0) {
            log_error("[%s][%d] kzalloc fail\r\n");
            return -1;
        }
        log_trace("[%s][%d]: Update Inst Success\n");
        gpon::report_instance(entry->class_id, cmd->inst_id, GPON_INSTANCE_SET);
        return 0;
    }
    log_trace("[%s][%d]: Add New Inst\n");
    gpon::owned<gpon_me_inst> inst = gpon::zalloc<gpon_me_inst>();
    if (!inst) {
        log_error("[%s][%d] Add list fail\r\n");
        return -1;
    }
    gpon::inst_parts parts = gpon::inst_parts::allocate(*info);
    if (!parts) {
        log_error("[%s][%d] kzalloc fail\r\n");
        log_error("[%s][%d] Add list fail\r\n");
        return -1;
    }
    gpon::copy_bytes(parts.raw.get(), raw.data(), raw.size());
    if (gpon_flow_list_alloc_related_data(parts.related.get(), info->related_info,
                                          info->related_info_size) != 0)
        return -1;
    inst->inst_id = cmd->inst_id;
    parts.move_to(*inst);
    gpon::append(info->head, inst.release());
    log_trace("[%s][%d]: Add New Inst Success\n");
    gpon::report_instance(entry->class_id, cmd->inst_id, GPON_INSTANCE_CREATED);
    return 0;
}

i32 gpon_flow_list_delete_inst(const gpon_me_entry* entry, u16 inst_id, i32 all)
{
    log_trace("[%s][%d]: Enter\n");
    if (!gpon::has_list(entry)) {
        log_warning("[%s][%d] input parament is NULL\r\n");
        return -1;
    }
    const gpon::store_change change;
    list_head* head = entry->list_info->head;
    for (list_head *link = head->next, *next = link->next; link != head;
         link = next, next = link->next) {
        gpon_me_inst* inst = gpon::inst_of(link);
        if (all != 1 && inst->inst_id != inst_id)
            continue;
        unlink(inst->link);
        gpon::report_instance(entry->class_id, inst->inst_id, GPON_INSTANCE_DELETED);
        call_rcu(&inst->rcu, free_inst);
    }
    log_error("[%s][%d] Delete inst Success\r\n");
    return 0;
}

i32 gpon_flow_list_get_raw(const list_head* head, u16 inst_id, void* out, i32 length)
{
    log_trace("[%s][%d]: Enter\n");
    if (!head || !out) {
        log_warning("[%s][%d] input parament is NULL\r\n");
        return -1;
    }
    raw_to(gpon::find_inst(head, inst_id), bytes_at(out, length));
    return 0;
}

i32 gpon_flow_list_get_related_data(const list_head* head, u16 inst_id, void* out, i32 length)
{
    log_trace("[%s][%d]: Enter\n");
    if (!head || !out) {
        log_warning("[%s][%d] input parament is NULL\r\n");
        return -1;
    }
    related_data_to(gpon::find_inst(head, inst_id), bytes_at(out, length));
    return 0;
}

i32 gpon_flow_clean_all_me_inst(void)
{
    const gpon::store_change change;
    for (u16 row = 1; row < GPON_ME_ROWS; ++row)
        gpon_flow_list_delete_inst(&me_table[row], 0, 1);
    return 0;
}
