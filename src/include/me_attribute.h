/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Attributes of a class as data: their place in the raw record, their notation, and which of them
 * point at other instances. The dump, the attribute handlers and the user space tool read the same
 * tables.
 */
#ifndef GPON_ME_ATTRIBUTE_H
#define GPON_ME_ATTRIBUTE_H

#include <type_traits>

#include "../base/bytes.h"
#include "me_class_id.h"
#include "uapi/gpon_flow.h"

enum class gpon_notation : u8 { decimal, hex };

/* One attribute in the raw record, little-endian. */
struct gpon_me_field {
    const char* name; /* as the record spells it */
    u16 offset;       /* bytes */
    u8 width;         /* of one value: 1, 2 or 4 bytes */
    u8 count;         /* above 1 the dump shows a list, else a column */
    gpon_notation notation;
};

/* A pointer attribute. The store follows it when a command's mask has one of its bits. */
struct gpon_me_pointer {
    gpon_me_field field;
    u16 mask;                           /* of a list: the mask of its first value */
    me_class class_id = me_class::none; /* class pointed at, unless class_of decides */
    /* Class pointed at, from the record and the default configuration; none: no class. */
    me_class (*class_of)(const void* raw, const struct gpon_flow_cfg_data& cfg) = nullptr;
    i32 no_target = -1; /* value that points nowhere; -1: each value is an id */
    u8 id_shift = 0;    /* bits of the value below the id */
};

namespace gpon {

template <typename Member>
[[nodiscard]] constexpr gpon_me_field describe(const char* name, size_t offset,
                                               gpon_notation notation)
{
    constexpr size_t width = sizeof(std::remove_extent_t<Member>);
    return {name, static_cast<u16>(offset), width, sizeof(Member) / width, notation};
}

/* Value of one element of an attribute. */
[[nodiscard]] inline u32 field_value(const gpon_me_field& field, const void* raw, u32 element = 0)
{
    const u8* at = static_cast<const u8*>(raw) + field.offset + element * field.width;
    switch (field.width) {
    case sizeof(u8):
        return *at;
    case sizeof(u16):
        return load_unaligned<u16>(at);
    default:
        return load_unaligned<u32>(at);
    }
}

[[nodiscard]] inline me_class target_class(const gpon_me_pointer& pointer, const void* raw,
                                           const struct gpon_flow_cfg_data& cfg)
{
    return pointer.class_of ? pointer.class_of(raw, cfg) : pointer.class_id;
}

[[nodiscard]] inline bool has_target(const gpon_me_pointer& pointer, const void* raw,
                                     u32 element = 0)
{
    return pointer.no_target < 0 ||
           field_value(pointer.field, raw, element) != static_cast<u32>(pointer.no_target);
}

[[nodiscard]] inline u16 target_id(const gpon_me_pointer& pointer, const void* raw, u32 element = 0)
{
    return static_cast<u16>(field_value(pointer.field, raw, element) >> pointer.id_shift);
}

/* Mask of one element of a list of pointers; attributes are numbered from the highest bit. */
[[nodiscard]] constexpr u16 element_mask(const gpon_me_pointer& pointer, u32 element = 0)
{
    return static_cast<u16>(pointer.mask >> element);
}

/* Mask of all elements. */
[[nodiscard]] constexpr u16 whole_mask(const gpon_me_pointer& pointer)
{
    u32 mask = 0;
    for (u32 element = 0; element < pointer.field.count; ++element)
        mask |= element_mask(pointer, element);
    return static_cast<u16>(mask);
}

} // namespace gpon

/* The field of a record's member, whose spelling is its name. */
#define GPON_FIELD(record, member, notation) \
    gpon::describe<decltype(record::member)>(#member, offsetof(record, member), \
                                             gpon_notation::notation)

#endif
