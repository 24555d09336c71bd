/* SPDX-License-Identifier: GPL-2.0-only */
/* The default configuration, from which the store derives the attributes of instances that it
 * creates itself. */
#ifndef GPON_ME_DEFAULT_CONFIG_H
#define GPON_ME_DEFAULT_CONFIG_H

#include "../include/me_class.h"

extern "C" {

/* The default configuration that was loaded last; all zero before. Control path. */
extern struct gpon_flow_cfg_data gpon_flow_cfg_data GPON_GUARDED_BY(gpon_flow_control_mutex);

/* Loads the 40-byte default configuration from a user address; a failed load leaves it zeroed. */
[[nodiscard]] i32 gpon_flow_load_cfg_data(const void* user_cfg)
    GPON_REQUIRES(gpon_flow_control_mutex);
}

#endif
