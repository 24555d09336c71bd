/* SPDX-License-Identifier: GPL-2.0-only */
/* G.988 TP types: bridge ports and mappers name their termination point by a type and an id. */
#ifndef GPON_TP_TYPES_H
#define GPON_TP_TYPES_H

#include "me_class_id.h"

/* Side of the ONU that a termination point belongs to. */
enum class tp_side : u8 { none, uni, ani };

struct tp_type {
    u8 value;
    me_class class_id; /* of the termination point */
    tp_side side;
};

/* tpType of a bridge port (G.988 9.3.4). */
constexpr tp_type BRIDGE_PORT_TP_TYPES[] = {{1, me_class::pptp, tp_side::uni},
                                            {3, me_class::mapper, tp_side::ani},
                                            {5, me_class::gemiw, tp_side::ani},
                                            {6, me_class::multigemiw, tp_side::ani},
                                            {11, me_class::veip, tp_side::uni}};

/* tpType of a mapper (G.988 9.3.10). */
constexpr tp_type MAPPER_TP_TYPES[] = {{1, me_class::pptp, tp_side::uni},
                                       {7, me_class::veip, tp_side::uni}};

namespace gpon {

/* A table of TP types by value, for the packet path: a look-up is one comparison and one load. */
struct tp_type_map {
    tp_type by_value[12] = {};

    template <size_t Rows> explicit constexpr tp_type_map(const tp_type (&rows)[Rows])
    {
        for (const tp_type& row : rows)
            by_value[row.value] = row;
    }

    /* A value without a row has no class and no side. */
    [[nodiscard]] constexpr tp_type find(u8 value) const
    {
        return value < sizeof(by_value) / sizeof(by_value[0]) ? by_value[value] : tp_type{};
    }
};

constexpr tp_type_map BRIDGE_PORT_TP_MAP(BRIDGE_PORT_TP_TYPES);
constexpr tp_type_map MAPPER_TP_MAP(MAPPER_TP_TYPES);

[[nodiscard]] constexpr tp_type bridge_port_tp(u8 tp_type_value)
{
    return BRIDGE_PORT_TP_MAP.find(tp_type_value);
}

[[nodiscard]] constexpr tp_type mapper_tp(u8 tp_type_value)
{
    return MAPPER_TP_MAP.find(tp_type_value);
}

} // namespace gpon

#endif
