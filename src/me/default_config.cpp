// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "default_config.h"

#include "../base/log.h"

GPON_MODULE_DATA constinit struct gpon_flow_cfg_data gpon_flow_cfg_data = {};

i32 gpon_flow_load_cfg_data(const void* user_cfg)
{
    gpon_flow_cfg_data = {};
    if (!user_cfg) {
        log_error("default cfg ptr is NULL\n");
        return -1;
    }
    struct gpon_flow_cfg_data loaded;
    if (copy_from_user(&loaded, user_cfg, sizeof(loaded)) != 0)
        return -1;
    gpon_flow_cfg_data = loaded;
    log_trace("[%s][%d]set default data\n");
    return 0;
}
