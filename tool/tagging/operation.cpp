// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/operation.h"

#include <algorithm>
#include <span>

namespace gponflow {

namespace {

struct association_type {
    uint8_t value;
    me_class class_id; // none: not mirrored
    const char* name;
};

constexpr association_type extended_associations[] = {
    {0, me_class::mbpcd, "MAC bridge port configuration data"},
    {1, me_class::mapper, "802.1p mapper service profile"},
    {2, me_class::pptp, "PPTP Ethernet UNI"},
    {3, me_class::none, "IP host config data"},
    {4, me_class::none, "PPTP xDSL UNI"},
    {5, me_class::gemiw, "GEM interworking TP"},
    {6, me_class::multigemiw, "multicast GEM interworking TP"},
    {7, me_class::none, "PPTP MoCA UNI"},
    {9, me_class::none, "Ethernet flow TP"},
    {10, me_class::veip, "virtual Ethernet interface point"},
    {11, me_class::none, "MPLS pseudowire TP"},
    {12, me_class::none, "EFM bonding group"},
};

constexpr association_type plain_associations[] = {
    {0, me_class::pptp, "PPTP Ethernet UNI"},
    {1, me_class::none, "IP host config data"},
    {2, me_class::mapper, "802.1p mapper service profile"},
    {3, me_class::mbpcd, "MAC bridge port configuration data"},
    {4, me_class::none, "PPTP xDSL UNI"},
    {5, me_class::gemiw, "GEM interworking TP"},
    {6, me_class::multigemiw, "multicast GEM interworking TP"},
    {7, me_class::none, "PPTP MoCA UNI"},
    {9, me_class::none, "Ethernet flow TP"},
    {10, me_class::veip, "virtual Ethernet interface point"},
    {11, me_class::none, "MPLS pseudowire TP"},
};

const association_type* find_association(me_class class_id, uint8_t value)
{
    const std::span<const association_type> all =
        class_id == me_class::evtocd ? std::span<const association_type>(extended_associations)
                                     : std::span<const association_type>(plain_associations);
    const auto found = std::ranges::find(all, value, &association_type::value);
    return found == all.end() ? nullptr : &*found;
}

tag_row default_row(uint8_t outer, uint8_t inner)
{
    tag_row row;
    row.filter_outer.priority = outer;
    row.filter_inner.priority = inner;
    return row;
}

template <typename value> void take(value& attribute, const std::optional<value>& fact)
{
    if (fact)
        attribute = *fact;
}

// Unless it is known.
void start_table(tag_operation& operation)
{
    if (operation.table_known)
        return;
    operation.table_known = true;
    operation.table_in_part = false;
    operation.rows = default_rows();
    std::ranges::stable_sort(operation.rows, is_tried_before);
}

void forget_table(tag_operation& operation)
{
    operation.table_known = false;
    operation.table_in_part = true;
    operation.rows.clear();
}

} // namespace

void apply(const tag_facts& facts, tag_operation& operation)
{
    operation.class_id = facts.class_id;
    if (facts.association)
        operation.association = facts.association;
    take(operation.associated, facts.associated);
    take(operation.input_tpid, facts.input_tpid);
    take(operation.output_tpid, facts.output_tpid);
    take(operation.downstream_mode, facts.downstream_mode);
    take(operation.dscp_map, facts.dscp_map);
    take(operation.enhanced_mode, facts.enhanced_mode);
    if (facts.unknown_rows)
        forget_table(operation);
    if (facts.default_rows)
        start_table(operation);
    for (const tag_row_image& row : facts.rows)
        set_row(operation, row);
    if (facts.upstream_mode)
        operation.upstream_mode = facts.upstream_mode;
    take(operation.upstream_tci, facts.upstream_tci);
}

std::vector<tag_row> default_rows()
{
    return {default_row(no_tag, no_tag), default_row(no_tag, default_rule),
            default_row(default_rule, default_rule)};
}

std::string table_fault(const tag_operation& operation)
{
    if (operation.enhanced_mode != 0)
        return "it is in enhanced mode, whose table is not read";
    if (operation.table_in_part)
        return "only a part of its table is known";
    return operation.table_known ? "" : "its table is not known";
}

void set_row(tag_operation& operation, const tag_row_image& image)
{
    if (!operation.table_in_part)
        start_table(operation);
    const tag_row row = decode_row(image);
    std::erase_if(operation.rows, [&](const tag_row& one) { return same_key(one, row); });
    if (is_deletion(image))
        return;
    operation.rows.insert(std::ranges::upper_bound(operation.rows, row, is_tried_before), row);
}

me_class associated_class(const tag_operation& operation)
{
    if (!operation.association)
        return me_class::none;
    const association_type* known = find_association(operation.class_id, *operation.association);
    return known ? known->class_id : me_class::none;
}

std::string association_name(me_class class_id, uint8_t association)
{
    const association_type* known = find_association(class_id, association);
    return known ? known->name : "type " + std::to_string(association);
}

} // namespace gponflow
