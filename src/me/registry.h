/* SPDX-License-Identifier: GPL-2.0-only */
/* Look-up of a class by its G.988 number. Constant after gpon_flow_init_me_map. */
#ifndef GPON_ME_REGISTRY_H
#define GPON_ME_REGISTRY_H

#include "../base/log.h"
#include "class_table.h"

/* Class ids that the class-id map covers: 0 to 511. */
constexpr u16 GPON_ME_CLASS_IDS = 512;

extern "C" {

/* Builds the class-id map; once, at module load, before any command or packet. */
void gpon_flow_init_me_map(void);

/* The class's row, or null (with an error message for G.988's reserved ranges). Any context. */
[[nodiscard]] const gpon_me_entry* gpon_flow_me_get_by_classid(me_class class_id);
}

namespace gpon {

/* Class number to row of me_table, 0 for a class that is not mirrored. */
extern u16 class_id_map[GPON_ME_CLASS_IDS];

[[nodiscard]] inline u16 row_of_class(me_class class_id)
{
    const u16 number = class_number(class_id);
    return number < GPON_ME_CLASS_IDS ? class_id_map[number] : u16{0};
}

/* The class's row; null for a class that is not mirrored. Prints nothing. */
[[nodiscard]] inline const gpon_me_entry* mirrored_class(me_class class_id)
{
    const u16 row = row_of_class(class_id);
    return row ? &me_table[row] : nullptr;
}

/* gpon_flow_me_get_by_classid without a call if it prints nothing. */
[[nodiscard]] inline const gpon_me_entry* find_class(me_class class_id)
{
    const gpon_me_entry* entry = mirrored_class(class_id);
    if (!entry || debug_level() & LOG_TRACE) [[unlikely]]
        return gpon_flow_me_get_by_classid(class_id);
    return entry;
}

/* True if the class has an instance list. */
[[nodiscard]] inline bool has_list(const gpon_me_entry* entry)
{
    return entry && entry->list_info && entry->list_info->head;
}

} // namespace gpon

#endif
