/* SPDX-License-Identifier: GPL-2.0-only */
/* Search of an instance by an attribute of its raw record. Packet path, inside an RCU read
 * section. */
#ifndef GPON_ME_CLASS_FIELD_SEARCH_H
#define GPON_ME_CLASS_FIELD_SEARCH_H

#include "../base/optional.h"
#include "../include/me_class.h"

namespace gpon {

/* First instance with a given value in the u16 raw field at an offset. The store may change the
 * record during the search. */
[[nodiscard]] optional<u16> find_by_field(const list_head* list, size_t field_offset,
                                          u16 value) GPON_READS_LISTS;

} // namespace gpon

#endif
