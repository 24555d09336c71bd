// SPDX-License-Identifier: GPL-2.0-only
#include "switches.h"

GPON_MODULE_DATA constinit u32 gponFlowEnableFlag = 0;
GPON_MODULE_DATA constinit u32 gponDebugLevel = 0;
GPON_MODULE_DATA constinit gpon_trace_cfg trace_cfg = {};
