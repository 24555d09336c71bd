/* SPDX-License-Identifier: GPL-2.0-only */
/* Related-id arrays: the instances of other classes that point at an instance. */
#ifndef GPON_ME_LINKS_H
#define GPON_ME_LINKS_H

#include "../base/atomics.h"
#include "../base/memory.h"
#include "../include/me_class.h"

extern "C" {

/* Copies the template of size bytes to dst and allocates a zeroed array for each row. Returns 0, or
 * -1 with nothing left allocated. Any context. */
[[nodiscard]] i32 gpon_flow_list_alloc_related_data(gpon_me_related_info* dst,
                                                    const gpon_me_related_info* table, i32 size);

/* Frees the arrays of all rows, not the table. Any context, once no reader is left. */
void gpon_flow_list_free_related_data(gpon_me_related_info* related);

/* Applies one link change to the holder's table. Create takes the first free entry and does not
 * check for duplicates, set records an id once, delete removes the first match and closes the gap.
 * Returns whether the table changed: a create or set does not change a full row, a set not one that
 * has the id. Control path. */
bool gpon_flow_list_update_related_id(gpon_me_related_info* related,
                                      const gpon_me_related_update* update) GPON_CHANGES_LISTS;
}

namespace gpon {

/* An entry is one word, read and written in one access. */
[[nodiscard]] inline u32 load_related_word(const gpon_me_related_id& entry) GPON_READS_LISTS
{
    return load_relaxed(*reinterpret_cast<const u32*>(&entry));
}

[[nodiscard]] inline gpon_me_related_id related_id_of(u32 word)
{
    // Field by field: a copy of the whole record also copies the padding.
    const u8* bytes = reinterpret_cast<const u8*>(&word);
    return {.instExist = bytes[offsetof(gpon_me_related_id, instExist)],
            .instId = load_unaligned<u16>(bytes + offsetof(gpon_me_related_id, instId))};
}

[[nodiscard]] inline gpon_me_related_id
load_related_id(const gpon_me_related_id& entry) GPON_READS_LISTS
{
    return related_id_of(load_related_word(entry));
}

inline void store_related_id(gpon_me_related_id& entry, gpon_me_related_id value) GPON_CHANGES_LISTS
{
    store_relaxed(*reinterpret_cast<u32*>(&entry), __builtin_bit_cast(u32, value));
}

/* The first row of a table that records ids of a class, or the last (empty) row. */
template <typename Row> [[nodiscard]] inline Row* find_row(Row* row, me_class related_class_id)
{
    while (row->related_class_id != me_class::none && row->related_class_id != related_class_id)
        ++row;
    return row;
}

/* The memory of a node during its creation. */
struct inst_parts {
    owned<u8> raw;
    owned<gpon_me_related_info> related;

    /* Empty if there is no memory for both. */
    [[nodiscard]] static inst_parts allocate(const gpon_me_list_info& info)
    {
        inst_parts parts;
        parts.raw = zalloc_bytes(info.raw_size);
        if (parts.raw)
            parts.related = owned<gpon_me_related_info>(reinterpret_cast<gpon_me_related_info*>(
                zalloc_bytes(info.related_info_size).release()));
        return parts;
    }

    explicit operator bool() const { return raw && related; }

    void move_to(gpon_me_inst& inst)
    {
        inst.raw = raw.release();
        inst.related = related.release();
    }
};

} // namespace gpon

#endif
