// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/* User memory: the checked copy. Every address in a control record comes from user space. */
#include <linux/uaccess.h>

#include "glue.h"

unsigned long gpon_os_copy_from_user(void *to, const void *user_from, unsigned long bytes)
{
	return copy_from_user(to, (const void __user __force *)user_from, bytes);
}
