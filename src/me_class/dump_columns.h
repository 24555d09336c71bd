/* SPDX-License-Identifier: GPL-2.0-only */
/* The instance dump of a class, printed from its table of fields. */
#ifndef GPON_ME_CLASS_DUMP_COLUMNS_H
#define GPON_ME_CLASS_DUMP_COLUMNS_H

#include "../include/me_class.h"

namespace gpon {

/* The dump function of all classes: writes single values as cells under their names, from left to
 * right, and lists into the extra text, one per line. A column that starts beyond the buffers is
 * skipped, one that crosses their end is cut. Returns the length of the titles; 0 without a buffer
 * or a record. */
i32 dump_fields(const gpon_me_list_info& info, const void* raw, char* values, char* header,
                char* extra, i32 length);

} // namespace gpon

#endif
