/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The class table: one row per mirrored class.
 *
 * This is the only reference from a lower layer to a higher one. The store looks up a class in the
 * table and treats all classes alike; the rows point to records and functions of me_class/, which
 * use the store. The table is therefore declared here for its readers and defined in me_class/, the
 * only layer that contains every class. A registration at run time would avoid the reference, but a
 * table that is filled at load is mutable, has no fixed order and needs code to fill it.
 */
#ifndef GPON_ME_CLASS_TABLE_H
#define GPON_ME_CLASS_TABLE_H

#include "../include/me_class.h"

/* Marks a declaration whose definition is in a higher layer. The check of the layers reads this
 * mark and allows no other reference to a symbol of a higher layer. */
#define GPON_DEFINED_IN(folder)

namespace gpon::me_row {

/* Rows of me_table; row 0 is empty and means "no class". */
enum : u16 {
    none,
#define GPON_WALKED(class_id, short_name, ...) short_name,
#define GPON_STORED(class_id, short_name, ...) short_name,
#include "../include/me_classes.def"
    count
};

} // namespace gpon::me_row

constexpr u16 GPON_ME_ROWS = gpon::me_row::count;

extern "C" {

/* Row order is the order of clean-all and dump-all. */
GPON_DEFINED_IN(me_class) extern const gpon_me_entry me_table[GPON_ME_ROWS];
}

#endif
