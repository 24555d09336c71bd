/* SPDX-License-Identifier: GPL-2.0-only */
/* What the forward functions of all classes do alike. Packet path, inside an RCU read section. */
#ifndef GPON_ME_CLASS_FORWARD_H
#define GPON_ME_CLASS_FORWARD_H

#include "../base/log.h"
#include "../base/memory.h"
#include "../me/link_queries.h"
#include "../me/list.h"

namespace gpon {

/* Traces the entry of a forward function; false with the message when an argument is null. */
inline bool enter_forward(packet_log log, const gpon_fwd_info* fwd_info,
                          const gpon_walk_result* result,
                          log_text<> null_message = "%s [%d]: Parameter is NULL: Fail\r\n")
{
    log.without_packet().trace("[%s][%d]: Enter\n");
    if (log.has_packet() && fwd_info && result)
        return true;
    log.without_packet().error(null_message);
    return false;
}

/* A step's own copy of an instance's related-info table. */
class related_table {
public:
    related_table() = default;
    explicit related_table(const gpon_me_list_info& info)
        : info_(&info), table_(zalloc_bytes(info.related_info_size))
    {
    }

    /* False: no memory. */
    explicit operator bool() const { return static_cast<bool>(table_); }

    /* False: there is no such instance. */
    bool read(u16 inst_id) { return read(find_inst(info_->head, inst_id)); }

    /* The same of an instance that was found already, or was not. */
    bool read(const gpon_me_inst* inst)
    {
        copy_related_data(inst, table_.get(), static_cast<size_t>(info_->related_info_size));
        return inst != nullptr;
    }

    /* The first recorded instance of a class; instExist tells whether there is one. */
    gpon_me_related_id first(const sk_buff* skb, u16 class_id) const
    {
        return first_related_id(skb, reinterpret_cast<const gpon_me_related_info*>(table_.get()),
                                class_id);
    }

private:
    const gpon_me_list_info* info_ = nullptr;
    owned<u8> table_;
};

/* A step's own copy of an instance's raw record. */
template <typename Raw> class raw_record {
public:
    explicit operator bool() const { return static_cast<bool>(raw_); }

    /* False: there is no such instance. */
    bool read(const list_head& list, u16 inst_id) { return read(find_inst(&list, inst_id)); }

    /* The same of an instance that was found already, or was not. */
    bool read(const gpon_me_inst* inst)
    {
        copy_raw(inst, raw_.get(), sizeof(Raw));
        return inst != nullptr;
    }

    const Raw* operator->() const { return raw_.get(); }
    const Raw* get() const { return raw_.get(); }

private:
    owned<Raw> raw_ = zalloc<Raw>();
};

/* The VLAN operations tied to an instance. */
struct vlan_operations {
    gpon_me_related_id vtocd;
    gpon_me_related_id evtocd;

    static vlan_operations of(const sk_buff* skb, const related_table& table)
    {
        const gpon_me_related_id vtocd = table.first(skb, me_class::vtocd);
        return {vtocd, table.first(skb, me_class::evtocd)};
    }

    /* Runs them on the frame, 78 before 171; 0, or -1 with the message of the one that failed. */
    i32 run(const sk_buff* skb, op_info* op, packet_log log) const;
};

/* How a step through a class with VLAN operations begins. When it does not go on, answer is what
 * the forward function answers, and the status is set. */
struct table_step {
    table_step(const gpon_me_list_info& info, const sk_buff* skb, const gpon_fwd_info* fwd_info,
               gpon_walk_result* result, packet_log log,
               log_text<> null_message = "%s [%d]: Parameter is NULL: Fail\r\n");

    bool goes_on = false;
    i32 answer = -1;
    related_table related;
    vlan_operations vlan = {};
    op_info op = {};
};

} // namespace gpon

#endif
