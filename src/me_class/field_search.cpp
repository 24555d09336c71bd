// SPDX-License-Identifier: GPL-2.0-only
#include "field_search.h"

#include "../me/list.h"

gpon::optional<u16> gpon::find_by_field(const list_head* list, size_t field_offset, u16 value)
{
    const gpon_me_inst* inst = find_if(list, [=](const gpon_me_inst* candidate) {
        return load_relaxed(*reinterpret_cast<const u16*>(candidate->raw + field_offset)) == value;
    });
    if (!inst)
        return {};
    return inst->inst_id;
}
