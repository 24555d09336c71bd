/* SPDX-License-Identifier: GPL-2.0-only */
/* Declarations of the records of the mirrored classes. */
#ifndef GPON_ME_CLASSES_H
#define GPON_ME_CLASSES_H

#include "../include/me_class.h"

extern "C" {

#define GPON_STORED(class_id, short_name, name, title, caption, creation, list_info, list) \
    extern const gpon_me_list_info list_info; \
    extern list_head list;
#define GPON_WALKED(class_id, short_name, name, title, caption, creation, list_info, list, fwd_op) \
    GPON_STORED(class_id, short_name, name, title, caption, creation, list_info, list) \
    extern const gpon_me_fwd_op fwd_op;
#include "../include/me_classes.def"
}

#endif
