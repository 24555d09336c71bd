/* SPDX-License-Identifier: GPL-2.0-only */
#ifndef GPON_BALANCE_H
#define GPON_BALANCE_H

/* Blocks that gpon_flow.ko has allocated and not freed. Any context. */
int gpon_balance_live(void);

#endif
