/* SPDX-License-Identifier: GPL-2.0-only */
/* Only the names of its records are used. */
#include "../stub.h"
