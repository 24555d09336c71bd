/* SPDX-License-Identifier: GPL-2.0-only */
/* A change of a link between two instances. Control path. */
#ifndef GPON_ME_LINK_UPDATE_H
#define GPON_ME_LINK_UPDATE_H

#include "../include/me_class.h"

extern "C" {

/* Records a link change at the target instance, and creates the target if the ONU itself creates
 * instances of its class. Returns 0 or -1; a link to a missing instance of another class is dropped
 * with 0. */
[[nodiscard]] i32
gpon_flow_me_general_update(const gpon_me_related_update* update) GPON_CHANGES_LISTS;
}

#endif
