// SPDX-License-Identifier: GPL-2.0-only
#include "link_queries.h"

#include "../base/log.h"
#include "../base/memory.h"
#include "links.h"
#include "list.h"
#include "registry.h"

namespace {

using gpon::load_related_id;

// The table of an absent instance.
constexpr gpon_me_related_info NO_ROWS = {};

// A row of an instance's table, without its name.
struct row_copy {
    const gpon_me_related_id* ids;
    i32 count;
};

enum class row_result { passed_over, found };

// The position after the used entry with that id, or -1 if there is none.
[[nodiscard]] inline i32 position_behind(const row_copy& row, u16 inst_id) GPON_READS_LISTS
{
    const gpon_me_related_id* const ids = row.ids;
    const i32 count = row.count;
    for (i32 i = 0; i < count; ++i) {
        const gpon_me_related_id entry = load_related_id(ids[i]);
        if (entry.instExist == 0)
            return -1;
        if (entry.instId == inst_id)
            return i + 1;
    }
    return -1;
}

// The forward query in one row. Hot: scanned once per port of a bridge, keep it cheap.
[[nodiscard, gnu::always_inline]] inline row_result
next_in_row(const row_copy& row, gpon_me_related_id* related_id) GPON_READS_LISTS
{
    i32 next = 0;
    if (related_id->instExist != 0) {
        next = position_behind(row, related_id->instId);
        if (next < 0)
            return row_result::passed_over;
        related_id->instExist = 0;
    }
    if (next >= row.count)
        return row_result::passed_over;
    const gpon_me_related_id entry = load_related_id(row.ids[next]);
    if (entry.instExist == 0)
        return row_result::passed_over;
    *related_id = entry;
    return row_result::found;
}

// The forward query over a table. Each row that it examines is copied to row. Returns the index of
// the row with the result, or -1.
[[nodiscard]] i32 next_in_table(const gpon_me_related_info* related, me_class related_class_id,
                                row_copy& row, gpon_me_related_id* related_id) GPON_READS_LISTS
{
    for (i32 i = 0; related[i].related_class_id != me_class::none; ++i) {
        if (related[i].related_class_id != related_class_id || related[i].related_inst_num <= 0)
            continue;
        row = {related[i].related_ids, related[i].related_inst_num};
        if (next_in_row(row, related_id) == row_result::found)
            return i;
    }
    related_id->instExist = 0;
    return -1;
}

// Messages of gpon_flow_list_get_related_id.
[[GPON_COLD, gnu::noinline]] void trace_table(const packet_log& log, i32 row_with_result)
{
    if (row_with_result >= 0)
        log.trace("[%s] [%d]: i=%d\n", row_with_result);
}

[[GPON_COLD, gnu::noinline]] void trace_query(const packet_log& log,
                                              const gpon_me_relation_query* query)
{
    log.trace("[%s][%d]the classId(%d) InstanceId(%d) related_classId(%d).\n", query->class_id,
              query->inst_id, query->related_class_id);
}

[[GPON_COLD, gnu::noinline]] void trace_result(const packet_log& log,
                                               const gpon_me_relation_query* query)
{
    trace_query(log, query);
    log.trace("[%s][%d] instExist=%d,instId = 0x%x\n", query->related_id->instExist,
              query->related_id->instId);
}

[[GPON_COLD, gnu::noinline]] bool refuse(const packet_log& log)
{
    if (log.has_packet()) {
        log.trace("[%s][%d]: Enter\n");
        log.error("[%s][%d] input parament is NULL\r\n");
    } else {
        log.without_packet().trace("[%s][%d]: Enter\n");
        log.without_packet().error("[%s][%d] input parament is NULL\r\n");
    }
    return false;
}

// Argument checks of both queries.
[[gnu::always_inline]] inline bool is_complete(const packet_log& log,
                                               const gpon_me_relation_query* query)
{
    if (!log.has_packet() || !query || !query->related_id) [[unlikely]]
        return refuse(log);
    if (log.traces()) [[unlikely]] {
        log.trace("[%s][%d]: Enter\n");
        trace_query(log, query);
    }
    return true;
}

[[GPON_COLD, gnu::noinline]] const gpon_me_entry* report_class(const packet_log& log,
                                                               me_class class_id)
{
    log.error("[%s][%d]the classId(%d) can not get the entry.\n", class_id);
    return nullptr;
}

[[gnu::always_inline]] inline const gpon_me_entry* class_with_list(const packet_log& log,
                                                                   me_class class_id)
{
    const gpon_me_entry* entry = gpon::find_class(class_id);
    return gpon::has_list(entry) ? entry : report_class(log, class_id);
}

// The search of the reverse query over one instance.
bool records(const packet_log& log, const gpon_me_inst& inst,
             const gpon_me_relation_query& query) GPON_READS_LISTS
{
    for (const gpon_me_related_info* row = inst.related; row->related_class_id != me_class::none;
         ++row) {
        if (row->related_class_id != query.class_id) {
            log.trace("[%s][%d]\n");
            continue;
        }
        for (i32 i = 0; i < row->related_inst_num; ++i) {
            const gpon_me_related_id entry = load_related_id(row->related_ids[i]);
            if (entry.instExist != 1) {
                log.trace("[%s][%d]\n");
                break;
            }
            if (entry.instId == query.inst_id) {
                *query.related_id = {.instExist = 1, .instId = inst.inst_id};
                log.trace("%s [%d]: i=%d\n", i);
                return true;
            }
        }
    }
    return false;
}

// Resumes the scan after the previous result, which is found by its id alone.
void pass_previous(const packet_log& log, const gpon_me_inst& inst, gpon_me_related_id* related_id)
{
    if (inst.inst_id == related_id->instId) {
        related_id->instExist = 0;
        log.trace("[%s][%d] loop at last instId, current instId= %x , "
                  "already find instId = %x \n",
                  inst.inst_id, related_id->instId);
    } else {
        log.trace("[%s][%d] loop to next instId,current instId= %x , "
                  "already find instId = %x \n",
                  inst.inst_id, related_id->instId);
    }
}

} // namespace

i32 gpon_flow_list_get_related_id(const sk_buff* skb, const gpon_me_related_info* related,
                                  me_class related_class_id, gpon_me_related_id* related_id)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log.trace("[%s][%d]: Enter\n");
    if (!related || !related_id) {
        log.error("[%s] [%d]: Parameter is NULL: Fail\r\n");
        return -1;
    }
    row_copy row;
    trace_table(log, next_in_table(related, related_class_id, row, related_id));
    return 0;
}

i32 gpon_flow_me_get_related_id(const sk_buff* skb, const gpon_me_relation_query* query)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    if (!is_complete(log, query))
        return -1;
    const gpon_me_entry* entry = class_with_list(log, query->class_id);
    if (!entry)
        return -1;
    const gpon::packet_buffer<row_copy> row(query->memory);
    if (!row)
        return -1;
    const gpon_me_inst* inst = gpon::find_inst(entry->list_info->head, query->inst_id);
    gpon::trace_related_data();
    if (log.traces()) [[unlikely]]
        log.as<gpon_flow_list_get_related_id>().trace("[%s][%d]: Enter\n");
    const i32 found = next_in_table(inst ? inst->related : &NO_ROWS, query->related_class_id, *row,
                                    query->related_id);
    if (log.traces()) [[unlikely]] {
        trace_table(log.as<gpon_flow_list_get_related_id>(), found);
        trace_result(log, query);
    }
    return 0;
}

i32 gpon_flow_me_reverse_get_related_id(const sk_buff* skb, const gpon_me_relation_query* query)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    if (!is_complete(log, query))
        return -1;
    const gpon_me_entry* entry = class_with_list(log, query->related_class_id);
    if (!entry)
        return -1;
    gpon_me_related_id* related_id = query->related_id;
    const list_head* head = entry->list_info->head;
    if (gpon::rcu_dereference(head->next) == head) {
        related_id->instExist = 0;
        return -1;
    }
    const gpon_me_inst* hit = gpon::find_if(head, [=](const gpon_me_inst* inst) GPON_READS_LISTS {
        if (related_id->instExist == 1) {
            pass_previous(log, *inst, related_id);
            return false;
        }
        return records(log, *inst, *query);
    });
    if (!hit)
        related_id->instExist = 0;
    if (log.traces()) [[unlikely]]
        trace_result(log, query);
    return hit ? 0 : -1;
}

bool gpon::is_repeated_result(const gpon_me_relation_query& query, gpon_me_related_id previous)
{
    // A forward query without memory does not change the previous result.
    if (previous.instExist != 1)
        return false;
    if (query.related_id->instId == previous.instId)
        return true;
    const gpon_me_entry* entry = gpon::mirrored_class(query.class_id);
    const gpon_me_inst* inst =
        has_list(entry) ? find_inst(entry->list_info->head, query.inst_id) : nullptr;
    if (!inst)
        return false;
    const gpon_me_related_info* row = find_row(inst->related, query.related_class_id);
    if (row->related_class_id == me_class::none)
        return false;
    const u16 id = query.related_id->instId;
    for (i32 i = 0; i < row->related_inst_num; ++i) {
        const gpon_me_related_id seen = load_related_id(row->related_ids[i]);
        if (seen.instExist == 0)
            return false;
        if (seen.instId == id)
            return true;
        if (seen.instId == previous.instId)
            return false;
    }
    return false;
}
