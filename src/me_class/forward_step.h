/* SPDX-License-Identifier: GPL-2.0-only */
/* Common parts of the forward functions of all classes. Packet path, inside an RCU read section. */
#ifndef GPON_ME_CLASS_FORWARD_STEP_H
#define GPON_ME_CLASS_FORWARD_STEP_H

#include "../base/log.h"
#include "../base/memory.h"
#include "../me/link_queries.h"
#include "../me/links.h"
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

/* Rows of the largest related-info table of a walked class. */
constexpr size_t MOST_RELATED_CLASSES = 5;

/* The row of a class in a class's related-info table. */
template <size_t rows>
[[nodiscard]] constexpr u8 row_of(const gpon_me_related_info (&table)[rows], me_class class_id)
{
    static_assert(rows - 1 <= MOST_RELATED_CLASSES);
    u8 row = 0;
    while (table[row].related_class_id != class_id)
        ++row;
    return row;
}

/* A copy of an instance's links for one step: the first recorded id of each row. */
class related_links {
public:
    related_links() = default;
    /* Empty if there is no memory. */
    explicit related_links(packet_memory& memory) : first_(&memory) {}

    void allocate(packet_memory& memory) { first_.allocate(&memory); }

    explicit operator bool() const { return static_cast<bool>(first_); }

    /* Copies the first rows of an instance, which is null if it was not found. The copy then has no
     * contents, and the result is false. */
    [[nodiscard, gnu::always_inline]] bool read(const gpon_me_inst* inst, u8 rows) GPON_READS_LISTS
    {
        trace_related_data();
        if (!inst)
            return false;
        for (u8 row = 0; row < rows; ++row)
            first_->word_of_row[row] = load_related_word(inst->related[row].related_ids[0]);
        return true;
    }

    /* The first recorded instance of a row's class; instExist is 0 if there is none. */
    [[nodiscard]] gpon_me_related_id first(u8 row) const
    {
        return related_id_of(first_->word_of_row[row]);
    }

    /* Prints the messages of the queries for some rows, which the copy replaces. */
    void trace(const packet_log& log, u8 first_row, u8 rows) const
    {
        if (log.traces()) [[unlikely]]
            print_queries(log, first_row, rows);
    }

private:
    struct first_ids {
        u32 word_of_row[MOST_RELATED_CLASSES];
    };

    void print_queries(const packet_log& log, u8 first_row, u8 rows) const;

    packet_buffer<first_ids> first_;
};

/* A copy of an instance's raw record for one step. */
template <typename Raw> class raw_record {
public:
    /* Empty if there is no memory; memory itself is null for a caller without a walk. */
    explicit raw_record(packet_memory* memory) : raw_(memory) {}

    explicit operator bool() const { return static_cast<bool>(raw_); }

    /* Copies the record of an instance, which is null if it was not found. The copy then has no
     * contents, and the result is false. */
    [[nodiscard]] bool read(const gpon_me_inst* inst) GPON_READS_LISTS
    {
        copy_raw(inst, raw_.bytes());
        return inst != nullptr;
    }

    const Raw* operator->() const { return get(); }
    [[nodiscard]] const Raw* get() const { return &*raw_; }

private:
    packet_buffer<Raw> raw_;
};

/* Refuses a frame because the record of its filter or mapper cannot be read: it has decided
 * nothing, so the walk notes a failed step. Returns -1. */
[[nodiscard]] inline i32 refuse_unread(const op_info* op)
{
    if (op->walk) {
        op->walk->obstacles |= WALK_STEP_FAILED;
        op->walk->decision = GPON_DECISION_UNREADABLE;
    }
    return -1;
}

/* The VLAN operations of an instance. */
struct vlan_operations {
    gpon_me_related_id vtocd;
    gpon_me_related_id evtocd;

    /* The two classes have adjacent rows in every table; vtocd_row is the first one. */
    [[nodiscard]] static vlan_operations of(const related_links& links, u8 vtocd_row)
    {
        return {links.first(vtocd_row), links.first(static_cast<u8>(vtocd_row + 1))};
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

// Not constexpr: a call while a row is computed stops the compiler.
inline void vlan_rows_are_not_adjacent() {}

/* The row of class 78 in a class's table. Class 171 has to follow in the next one; no step reads a
 * later row. */
template <size_t rows>
[[nodiscard]] consteval u8 vlan_row_of(const gpon_me_related_info (&table)[rows])
{
    const u8 row = row_of(table, me_class::vtocd);
    if (row_of(table, me_class::evtocd) != row + 1)
        vlan_rows_are_not_adjacent();
    return row;
}

/* The start of a step through a class with VLAN operations. */
struct table_step {
    /* Reads the instance's links. Returns false if the step ends here; the walk's status and
     * return_value are then set. vtocd_row is from vlan_row_of. */
    [[nodiscard]] bool begin(const gpon_me_list_info& info, u8 vtocd_row, const packet_log& log,
                             const gpon_fwd_info* fwd_info, gpon_walk_result* result,
                             log_text<> null_message = "%s [%d]: Parameter is NULL: Fail\r\n")
        GPON_ASSERT_SHARED(gpon_rcu_section);

    i32 return_value = -1; /* of the forward function, if the step ends */
    related_links links;
    vlan_operations vlan;
    op_info op;
};

} // namespace gpon

#endif
