/* SPDX-License-Identifier: GPL-2.0-only */
/* Ids of the mirrored classes (ITU-T G.988). Commands, events and printed texts hold them as plain
 * 16-bit numbers; the two functions below are the only conversions. */
#ifndef GPON_ME_CLASS_ID_H
#define GPON_ME_CLASS_ID_H

#include "../base/types.h"

/* A value without a name is the id of a class that is not mirrored. */
enum class me_class : u16 {
    none = 0,
#define GPON_WALKED(class_id, short_name, ...) short_name = class_id,
#define GPON_STORED(class_id, short_name, ...) short_name = class_id,
#include "me_classes.def"
};

namespace gpon {

[[nodiscard]] constexpr me_class to_me_class(u16 number)
{
    return static_cast<me_class>(number);
}

[[nodiscard]] constexpr u16 class_number(me_class class_id)
{
    return static_cast<u16>(class_id);
}

} // namespace gpon

#endif
