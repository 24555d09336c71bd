/* SPDX-License-Identifier: GPL-2.0-only */
/* Instance dump: one text table per class in the kernel log. Control path; not reentrant. */
#ifndef GPON_ME_DUMP_H
#define GPON_ME_DUMP_H

#include "../include/me_class.h"

/* Bytes of each text buffer of the dump, terminator included. */
constexpr i32 GPON_DUMP_BUFFER = 512;

extern "C" {

/* Prints the instance with the id, or every instance of the class if all is 1. */
void gpon_flow_general_dump_inst(const gpon_me_entry* entry, u16 inst_id,
                                 u32 all) GPON_CHANGES_LISTS;

/* Prints every class in table order; returns 0. */
i32 gpon_flow_dump_all_me_inst(void) GPON_CHANGES_LISTS;
}

namespace gpon {

/* Width of a column under a title. */
[[nodiscard]] i32 column_width(const char* title);

} // namespace gpon

#endif
