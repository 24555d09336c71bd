/* SPDX-License-Identifier: GPL-2.0-only */
/* Ids of the mirrored classes (ITU-T G.988). Commands and records contain them as plain 16-bit
 * numbers, so the enumerators convert to these. */
#ifndef GPON_ME_CLASS_ID_H
#define GPON_ME_CLASS_ID_H

#include "../base/types.h"

namespace me_class {

enum id : u16 {
    none = 0,
#define GPON_WALKED(class_id, short_name, ...) short_name = class_id,
#define GPON_STORED(class_id, short_name, ...) short_name = class_id,
#include "me_classes.def"
};

} // namespace me_class

#endif
