// SPDX-License-Identifier: GPL-2.0-only
#include "../me/class_table.h"

#include "classes.h"

constinit const gpon_me_entry me_table[GPON_ME_ROWS] = {
    {},
#define GPON_WALKED(class_id, short_name, name, title, caption, creation, list_info, list, fwd_op) \
    {me_class::short_name, name, creation, &(list_info), &(fwd_op)},
#define GPON_STORED(class_id, short_name, name, title, caption, creation, list_info, list) \
    {me_class::short_name, name, creation, &(list_info), nullptr},
#include "../include/me_classes.def"
};
