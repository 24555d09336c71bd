// SPDX-License-Identifier: GPL-2.0-only
#include "registry.h"

GPON_MODULE_DATA constinit u16 gpon::class_id_map[GPON_ME_CLASS_IDS] = {};

namespace {

using gpon::class_id_map;

bool is_reserved(me_class class_id)
{
    const u16 number = gpon::class_number(class_id);
    return (number >= 240 && number <= 255) || (number >= 350 && number <= 399) ||
           number >= GPON_ME_CLASS_IDS;
}

} // namespace

void gpon_flow_init_me_map(void)
{
    gpon::clear_bytes(class_id_map, sizeof(class_id_map));
    for (u16 row = 1; row < GPON_ME_ROWS; ++row) {
        const u16 number = gpon::class_number(me_table[row].class_id);
        if (number < GPON_ME_CLASS_IDS)
            class_id_map[number] = row;
        else
            log_error("Enter gpon_flow_init_me_map classId=%d greater %d\n", number,
                      GPON_ME_CLASS_IDS);
    }
}

const gpon_me_entry* gpon_flow_me_get_by_classid(me_class class_id)
{
    const u16 row = gpon::row_of_class(class_id);
    // No reserved class has a row.
    if (row == 0 && is_reserved(class_id)) {
        log_error("[%s][%d]unkown reserved ME(%d) .\n", class_id);
        return nullptr;
    }
    log_trace("[%s][%d]: classId = %d, me_index = %d.\n", class_id, row);
    return row ? &me_table[row] : nullptr;
}
