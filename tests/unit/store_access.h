/* SPDX-License-Identifier: GPL-2.0-only */
/* Access to the instance lists, and a class of the tests. */
#pragma once

#include "tests/support/loaded_module.h"

#include "core/control_record.h"
#include "include/packet_flow.h"
#include "me/command.h"
#include "me/links.h"
#include "me/list.h"
#include "me/registry.h"

namespace gpon::test {

inline constexpr u8 CREATE = ZR_OMCI_MSG_TYPE_CREAT;
inline constexpr u8 SET = ZR_OMCI_MSG_TYPE_SET;
inline constexpr u8 DELETE = ZR_OMCI_MSG_TYPE_DELETE;

/* Ids in list order, read along the next links. Fails the test when the back links, or the used
 * entries of a related-id array, are not as readers and writers rely on. */
inline std::vector<u16> ids_of(const list_head& head)
{
    std::vector<u16> ids;
    EXPECT_EQ(head.next->prev, &head);
    for (const list_head* link = head.next; link != &head; link = link->next) {
        EXPECT_EQ(link->next->prev, link);
        const gpon_me_inst* inst = inst_of(link);
        EXPECT_NE(inst->raw, nullptr);
        EXPECT_NE(inst->related, nullptr);
        ids.push_back(inst->inst_id);
    }
    return ids;
}

/* Used entries of a row, in array order. */
inline std::vector<u16> recorded(const gpon_me_related_info& row)
{
    std::vector<u16> ids;
    bool ended = false;
    for (i32 i = 0; i < row.related_inst_num; ++i) {
        const gpon_me_related_id entry = row.related_ids[i];
        EXPECT_FALSE(ended && entry.instExist) << "a free entry before entry " << i;
        ended = entry.instExist == 0;
        if (!ended)
            ids.push_back(entry.instId);
    }
    return ids;
}

/* What instance `id` of a class has recorded of another class; empty without the instance. */
inline std::vector<u16> recorded(me_class class_id, u16 id, me_class of_class)
{
    const gpon_me_inst* inst = find_inst(mirrored_class(class_id)->list_info->head, id);
    return inst ? recorded(*find_row(inst->related, of_class)) : std::vector<u16>();
}

/* Prepares a result for the next read section: instances found in the last one are not valid. */
inline void forget_found(gpon_walk_result& result)
{
    result.last_port = nullptr;
    result.last_filter = nullptr;
}

inline gpon_me_cmd command(u8 msg_type, me_class class_id, u16 inst_id, const void* raw,
                           u16 mask = 0xffff)
{
    return {.msg_type = msg_type,
            .reserved = 0,
            .class_id = class_number(class_id),
            .inst_id = inst_id,
            .attr_mask = mask,
            .attr_data = reinterpret_cast<uintptr_t>(raw)};
}

/* A command through the whole control path but the ioctl. */
inline i32 apply(u8 msg_type, me_class class_id, u16 inst_id, const void* raw, u16 mask = 0xffff)
{
    gpon_flow_cmd record = {};
    record.me = command(msg_type, class_id, inst_id, raw, mask);
    return gpon_flow_dispatch_omci_cmd(&record);
}

inline i32 create_bridge(u16 id)
{
    const gpon_raw_mbsp raw = {
        .instID = id, .uniBridgingEnable = 0, .helloTime = 0, .dynFilterAgingTime = 0};
    return apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, id, &raw);
}

inline i32 create_port(u16 id, u16 bridge, u8 tp_type = 0, u16 tp = 0)
{
    const gpon_raw_mbpcd raw = {
        .instID = id, .bridgeID = bridge, .tpType = tp_type, .tpPointer = tp};
    return apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, id, &raw);
}

} // namespace gpon::test
