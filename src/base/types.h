/* SPDX-License-Identifier: GPL-2.0-only */
#ifndef GPON_TYPES_H
#define GPON_TYPES_H

#include <stddef.h>
#include <stdint.h>

using u8 = uint8_t;
using u16 = uint16_t;
using u32 = uint32_t;
using u64 = uint64_t;
using i8 = int8_t;
using i32 = int32_t;
using i64 = int64_t;

// Mutable data of the module. A process loads the module many times, so the host build collects
// these objects in one section, which its loader resets to the initial values. In a kernel the
// module loader does this. All mutable data of the core has this mark.
#ifdef GPON_HOST_BUILD
#define GPON_MODULE_DATA [[gnu::section("gpon_data")]]
#else
#define GPON_MODULE_DATA
#endif

#endif
