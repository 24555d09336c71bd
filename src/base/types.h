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

// An automatic variable that is written as a whole before it is read. Kernels are built with a
// compiler option that clears every automatic variable at its declaration. gcc does not remove the
// stores where they are superfluous, and reserves a place on the stack for them.
#if __has_attribute(uninitialized)
#define GPON_WRITTEN_WHOLE __attribute__((uninitialized))
#else
#define GPON_WRITTEN_WHOLE
#endif

#endif
