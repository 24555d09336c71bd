/* SPDX-License-Identifier: GPL-2.0-only */
/* Values of the attributes of 802.1p mappers (ITU-T G.988 9.3.10). */
#ifndef GPON_MAPPER_VALUES_H
#define GPON_MAPPER_VALUES_H

#include "../base/types.h"

namespace gpon {

/* unmark_frame_opt: where untagged frames get their priority. A mapper drops them if it has another
 * value. */
enum unmarked_frame_option : u8 { FROM_DSCP = 0, FROM_DEFAULT_PBIT = 1 };

/* pbit_GemIWTP of a priority that the mapper drops. */
constexpr u16 NO_GEM_IW_TP = 0xffff;

} // namespace gpon

#endif
