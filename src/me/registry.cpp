// SPDX-License-Identifier: GPL-2.0-only
#include "registry.h"

GPON_MODULE_DATA constinit u16 gpon::class_id_map[GPON_ME_CLASS_IDS] = {};

namespace {

using gpon::class_id_map;

bool is_reserved(u16 class_id)
{
    return (class_id >= 240 && class_id <= 255) || (class_id >= 350 && class_id <= 399) ||
           class_id >= GPON_ME_CLASS_IDS;
}

} // namespace

void gpon_flow_init_me_map(void)
{
    gpon::clear_bytes(class_id_map, sizeof(class_id_map));
    for (u16 row = 1; row < GPON_ME_ROWS; ++row) {
        const u16 class_id = me_table[row].class_id;
        if (class_id < GPON_ME_CLASS_IDS)
            class_id_map[class_id] = row;
        else
            log_error("Enter gpon_flow_init_me_map classId=%d greater %d\n", class_id,
                      GPON_ME_CLASS_IDS);
    }
}

const gpon_me_entry* gpon_flow_me_get_by_classid(u16 class_id)
{
    const u16 row = class_id < GPON_ME_CLASS_IDS ? class_id_map[class_id] : u16{0};
    // No reserved class has a row.
    if (row == 0 && is_reserved(class_id)) {
        log_error("[%s][%d]unkown reserved ME(%d) .\n", class_id);
        return nullptr;
    }
    log_trace("[%s][%d]: classId = %d, me_index = %d.\n", class_id, row);
    return row ? &me_table[row] : nullptr;
}
