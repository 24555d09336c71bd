/* SPDX-License-Identifier: GPL-2.0-only */
/* The numbers of the netlink family, for a platform that offers it; plain C. */
#ifndef GPON_PLATFORM_NETLINK_H
#define GPON_PLATFORM_NETLINK_H

#include "../../include/uapi/gpon_flow_netlink.h"

#endif
