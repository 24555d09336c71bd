/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Instance lists: the configuration of the OLT, one doubly linked circular list per class.
 *
 * Layout. Each class has a list head. Each instance is a node, appended at the tail, so list order
 * is creation order. A node owns its raw attribute record and its copy of the class's related-info
 * table. Each row of the table owns an array with the ids of the instances of one class that point
 * at this instance. Used entries are contiguous from index 0.
 *
 *                     next               next               next
 *     +-----------+ ------> +----------+ ------> +----------+ ------> list_head
 *     | list_head |         |   node   |         |   node   |
 *     +-----------+ <------ +----------+ <------ +----------+ <------ list_head
 *                     prev               prev               prev
 *
 *     node (gpon_me_inst)
 *     +---------+
 *     | inst_id |
 *     | raw     |--> raw record: raw_size bytes, little-endian, the id first
 *     | related |--> related-info table, here of a T-CONT (class 262)
 *     | link    |    +------------------+-------------+------------------+
 *     | rcu     |    | related_class_id | related_ids | related_inst_num |
 *     +---------+    +------------------+-------------+------------------+
 *                    | 268              |      o      | 32               |
 *                    | 277              |      o      | 1                |
 *                    | 278              |      o      | 1                |
 *                    | 0, end of table  |             |                  |
 *                    +------------------+-------------+------------------+
 *                                              |
 *     +----------------------------------------+
 *     |   id array: related_inst_num entries of one 32-bit word, here of the row 268
 *     |   +-----------+-----------+-----------+-----------+-----+-----------+
 *     '-> | 1, 0x0101 | 1, 0x0102 | 1, 0x0107 | 0         | ... | 0         |  instExist, instId
 *         +-----------+-----------+-----------+-----------+-----+-----------+
 *
 * Access. Writers run one at a time, under gpon_flow_control_mutex, which the entry points of core/
 * take. Packets read under RCU without a lock. A node is published by a release store into its
 * predecessor and freed through call_rcu; the next link of a removed node stays valid. A change of
 * an instance replaces only the node: record, table and arrays stay and are changed in place, word
 * by word with relaxed accesses. A packet can see an instance between two settings, but never a
 * torn word.
 *
 * Cost. An access by id is a scan of the list, which has one node per configured entity. An add
 * takes three allocations and one for each related-info row.
 *
 * Deliberate quirks. An array is allocated with the size of related_inst_num nodes, much more than
 * its entries need. A read of an absent id is no error and does not change the destination. Several
 * success messages have error level: operators search the log for them.
 */
#ifndef GPON_ME_LIST_H
#define GPON_ME_LIST_H

#include "../base/atomics.h"
#include "../base/log.h"
#include "../include/me_class.h"

extern "C" {

/* Adds the command's instance, or overwrites the raw record of an existing one; attr_data of the
 * command is a kernel copy of the raw record. Returns 0 or -1. Control path. */
[[nodiscard]] i32 gpon_flow_list_add_inst(const gpon_me_entry* entry,
                                          const gpon_me_cmd* cmd) GPON_CHANGES_LISTS;

/* Removes every instance with the id, or all instances if all is 1. Returns 0, also without such an
 * instance; -1 for a class without list. Control path. */
i32 gpon_flow_list_delete_inst(const gpon_me_entry* entry, u16 inst_id, i32 all) GPON_CHANGES_LISTS;

/* Copies length bytes of the instance's raw record, or of its related-info table (the rows with
 * their array pointers). Returns 0, also without such an instance; -1 for a null argument. Packet
 * path under RCU, or control path. */
i32 gpon_flow_list_get_raw(const list_head* head, u16 inst_id, void* out,
                           i32 length) GPON_READS_LISTS;
i32 gpon_flow_list_get_related_data(const list_head* head, u16 inst_id, void* out,
                                    i32 length) GPON_READS_LISTS;

/* Removes the instances of every class in table order; returns 0. Control path. */
i32 gpon_flow_clean_all_me_inst(void) GPON_CHANGES_LISTS;
}

namespace gpon {

[[nodiscard]] inline gpon_me_inst* inst_of(const list_head* link)
{
    return reinterpret_cast<gpon_me_inst*>(reinterpret_cast<u8*>(const_cast<list_head*>(link)) -
                                           offsetof(gpon_me_inst, link));
}

/* Calls visit(instance) in list order until it returns true; returns that instance or null. */
template <typename Visit>
[[nodiscard]] inline gpon_me_inst* find_if(const list_head* head, Visit visit) GPON_READS_LISTS
{
    assert_reads_lists();
    for (list_head* link = rcu_dereference(head->next); link != head;
         link = rcu_dereference(link->next))
        if (visit(inst_of(link)))
            return inst_of(link);
    return nullptr;
}

/* Calls visit(instance) for each instance in list order. */
template <typename Visit>
inline void for_each_inst(const list_head* head, Visit visit) GPON_READS_LISTS
{
    assert_reads_lists();
    for (list_head* link = rcu_dereference(head->next); link != head;
         link = rcu_dereference(link->next))
        visit(inst_of(link));
}

[[nodiscard]] inline gpon_me_inst* find_inst(const list_head* head, u16 inst_id) GPON_READS_LISTS
{
    return find_if(head, [=](const gpon_me_inst* inst) { return inst->inst_id == inst_id; });
}

/* find_inst for callers that follow the list order: tries the instance after the previous one
 * first, then the list from its start. Ids are unique, so both find the same instance. last is null
 * or an instance found in the same RCU read section; it is set to the found instance. */
[[nodiscard]] inline gpon_me_inst* find_inst_after(const list_head* head, u16 inst_id,
                                                   const gpon_me_inst*& last) GPON_READS_LISTS
{
    assert_reads_lists();
    if (last) {
        list_head* next = rcu_dereference(last->link.next);
        if (next != head && inst_of(next)->inst_id == inst_id) {
            last = inst_of(next);
            return inst_of(next);
        }
    }
    gpon_me_inst* found = find_inst(head, inst_id);
    if (found)
        last = found;
    return found;
}

/* gpon_flow_list_get_raw, including its message, for an instance that the caller has already found;
 * null copies nothing. Packet path under RCU. */
template <size_t bytes>
[[gnu::always_inline]] inline void copy_raw(const gpon_me_inst* inst,
                                            std::span<u8, bytes> out) GPON_READS_LISTS
{
    log_context::of<gpon_flow_list_get_raw>().trace("[%s][%d]: Enter\n");
    if (inst)
        copy_record_from_shared<bytes>(out.data(), inst->raw);
}

/* For a caller that reads the links in place: a row of an instance never changes, only its array.
 */
inline void trace_related_data()
{
    log_context::of<gpon_flow_list_get_related_data>().trace("[%s][%d]: Enter\n");
}

/* Reports a change of an instance, if somebody listens. */
[[GPON_COLD, gnu::noinline]] void report_instance(me_class class_id, u16 inst_id,
                                                  gpon_instance_change change) GPON_CHANGES_LISTS;

/* Control path. append adds a complete instance at the tail. replace replaces a node with a copy of
 * it, which shares everything the node owns, and frees the node after its readers. */
void append(list_head* head, gpon_me_inst* inst) GPON_CHANGES_LISTS;
void replace(gpon_me_inst* old, gpon_me_inst* copy) GPON_CHANGES_LISTS;

} // namespace gpon

#endif
