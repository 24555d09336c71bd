/* SPDX-License-Identifier: GPL-2.0-only */
#ifndef GPON_GLUE_BUILD_BUG_H
#define GPON_GLUE_BUILD_BUG_H

#include <assert.h>

#define BUILD_BUG_ON(condition) static_assert(!(condition), #condition)
#define sizeof_field(record, field) sizeof(((record*)0)->field)

#endif
