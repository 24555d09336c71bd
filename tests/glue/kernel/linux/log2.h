/* SPDX-License-Identifier: GPL-2.0-only */
#include "../stub.h"
