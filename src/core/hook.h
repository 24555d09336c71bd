/* SPDX-License-Identifier: GPL-2.0-only */
#ifndef GPON_CORE_HOOK_H
#define GPON_CORE_HOOK_H

#include "../platform/api/platform_hook.h"

extern "C" {

/* The hook function: classifies a packet or sets the engine switch. Always returns
 * GPON_HOOK_RETURN; the result is in api_result. Softirq or driver context, any CPU. */
int gpon_flow_api_dispatch(struct api_data* data);
}

#endif
