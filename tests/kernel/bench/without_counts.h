/* SPDX-License-Identifier: GPL-2.0-only */
/* For a core that counts nothing: the compiler reads this before each of its sources. */
#include "platform/api/kernel_api.h"

#define count_use(place) static_cast<void>(place)
#define count_many(counter, amount) (static_cast<void>(counter), static_cast<void>(amount))
