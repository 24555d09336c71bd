/* SPDX-License-Identifier: GPL-2.0-only */
/* A change of a link between two instances. Control path. */
#ifndef GPON_ME_LINK_UPDATE_H
#define GPON_ME_LINK_UPDATE_H

#include "../include/me_class.h"

extern "C" {

/* Files a link change under the instance pointed at, and creates that instance when its class is
 * created by the ONU itself. 0 or -1; a link to a missing instance of another class is dropped
 * and answered with 0. */
i32 gpon_flow_me_general_update(const gpon_me_related_update* update) GPON_CHANGES_LISTS;
}

#endif
