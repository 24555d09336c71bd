/* SPDX-License-Identifier: GPL-2.0-only */
/* Common parts of the forward functions of all classes. Packet path, inside an RCU read section. */
#ifndef GPON_ME_CLASS_FORWARD_H
#define GPON_ME_CLASS_FORWARD_H

#include "../base/log.h"
#include "../base/memory.h"
#include "../me/link_queries.h"
#include "../me/list.h"

namespace gpon {

/* Traces the entry of a forward function; returns false and prints a message if an argument is
 * null. */
[[nodiscard]] inline bool
enter_forward(const packet_log& log, const gpon_fwd_info* fwd_info, const gpon_walk_result* result,
              log_text<> null_message = "%s [%d]: Parameter is NULL: Fail\r\n")
    GPON_ASSERT_SHARED(gpon_rcu_section)
{
    assert_reads_lists();
    log.without_packet().trace("[%s][%d]: Enter\n");
    if (log.has_packet() && fwd_info && result)
        return true;
    log.without_packet().error(null_message);
    return false;
}

/* A copy of an instance's related-info table for one step. */
class related_table {
public:
    /* Empty if there is no memory. */
    [[nodiscard]] static related_table allocate(const gpon_me_list_info& info)
    {
        related_table made;
        made.info_ = &info;
        made.table_ = packet_buffer(static_cast<size_t>(info.related_info_size));
        return made;
    }

    explicit operator bool() const { return static_cast<bool>(table_); }

    /* Returns false if there is no such instance; the table then has no contents. */
    [[nodiscard]] bool read(u16 inst_id) GPON_READS_LISTS
    {
        return read(find_inst(info_->head, inst_id));
    }

    /* The same for an instance that was already found; null if it was not. */
    bool read(const gpon_me_inst* inst) GPON_READS_LISTS
    {
        copy_related_data(inst, table_.bytes());
        return inst != nullptr;
    }

    /* The first recorded instance of a class; instExist is 0 if there is none. */
    [[nodiscard]] gpon_me_related_id first(const packet_log& log,
                                           u16 class_id) const GPON_READS_LISTS
    {
        return first_related_id(log, table_.as<gpon_me_related_info>(), class_id);
    }

private:
    const gpon_me_list_info* info_ = nullptr;
    packet_buffer table_;
};

/* A copy of an instance's raw record for one step. */
template <typename Raw> class raw_record {
public:
    /* Empty if there is no memory. */
    [[nodiscard]] static raw_record allocate()
    {
        raw_record made;
        made.raw_ = packet_buffer(sizeof(Raw));
        return made;
    }

    explicit operator bool() const { return static_cast<bool>(raw_); }

    /* Returns false if there is no such instance; the record then has no contents. */
    [[nodiscard]] bool read(const list_head& list, u16 inst_id) GPON_READS_LISTS
    {
        return read(find_inst(&list, inst_id));
    }

    /* The same for an instance that was already found; null if it was not. */
    bool read(const gpon_me_inst* inst) GPON_READS_LISTS
    {
        copy_raw(inst, raw_.bytes().template first<sizeof(Raw)>());
        return inst != nullptr;
    }

    const Raw* operator->() const { return get(); }
    const Raw* get() const { return raw_.as<Raw>(); }

private:
    packet_buffer raw_;
};

/* The VLAN operations of an instance. */
struct vlan_operations {
    gpon_me_related_id vtocd;
    gpon_me_related_id evtocd;

    [[nodiscard]] static vlan_operations of(const packet_log& log,
                                            const related_table& table) GPON_READS_LISTS
    {
        const gpon_me_related_id vtocd = table.first(log, me_class::vtocd);
        return {vtocd, table.first(log, me_class::evtocd)};
    }

    /* Runs them on the frame, class 78 before 171. Returns 0, or -1 with the message of the failed
     * one. */
    [[nodiscard]] i32 run(const sk_buff* skb, op_info* op, const packet_log& log) const
    {
        return vtocd.instExist == 1 || evtocd.instExist == 1 ? run_existing(skb, op, log) : 0;
    }

private:
    [[nodiscard]] i32 run_existing(const sk_buff* skb, op_info* op, const packet_log& log) const;
};

/* The start of a step through a class with VLAN operations. */
struct table_step {
    /* Reads the instance's table. If the step is not ready, the walk's status is set. */
    [[nodiscard]] static table_step
    begin(const gpon_me_list_info& info, const packet_log& log, const gpon_fwd_info* fwd_info,
          gpon_walk_result* result,
          log_text<> null_message = "%s [%d]: Parameter is NULL: Fail\r\n")
        GPON_ASSERT_SHARED(gpon_rcu_section);

    bool ready = false;
    i32 return_value = -1; /* of the forward function, if the step is not ready */
    related_table related;
    vlan_operations vlan = {};
    op_info op = {};
};

} // namespace gpon

#endif
