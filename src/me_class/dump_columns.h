/* SPDX-License-Identifier: GPL-2.0-only */
/* The instance dump of a class, printed from its table of fields. */
#ifndef GPON_ME_CLASS_DUMP_COLUMNS_H
#define GPON_ME_CLASS_DUMP_COLUMNS_H

#include "../include/me_class.h"

namespace gpon {

/* Writes single values as cells under their names, from left to right, and lists into the extra
 * text, one per line. A column that starts beyond the buffers is skipped, one that crosses their
 * end is cut. Returns the length of the titles; 0 without a buffer or a record. */
i32 print_fields(std::span<const gpon_me_field> fields, const void* raw, char* values, char* header,
                 char* extra, i32 length);

/* The dump function of a class with these fields. */
template <const auto& Fields>
i32 dump_fields(const void* raw, char* values, char* header, char* extra, i32 length)
{
    return print_fields(Fields, raw, values, header, extra, length);
}

} // namespace gpon

#endif
