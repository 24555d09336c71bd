// SPDX-License-Identifier: GPL-2.0-only
/* Memory: the packet path and code under the rule table's lock allocate, so nothing may sleep. */
#include <linux/slab.h>

#include "glue.h"

void *gpon_os_kzalloc(size_t bytes, unsigned int flags)
{
	/* The seam knows GFP_ATOMIC only, whatever its number is over there. */
	return kzalloc(bytes, GFP_ATOMIC);
}

void gpon_os_kfree(const void *memory)
{
	kfree(memory);
}
