// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/operation.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "tool/text/class_titles.h"

namespace gponflow {

namespace {

struct association_type {
    uint8_t value;
    me_class class_id;     // none: not stored
    uint16_t unstored = 0; // number of a class that is not stored
};

constexpr association_type extended_associations[] = {
    {0, me_class::mbpcd},
    {1, me_class::mapper},
    {2, me_class::pptp},
    {3, me_class::none, unstored_class::ip_host},
    {4, me_class::none, unstored_class::xdsl_uni},
    {5, me_class::gemiw},
    {6, me_class::multigemiw},
    {7, me_class::none, unstored_class::moca_uni},
    {9, me_class::none, unstored_class::ethernet_flow_tp},
    {10, me_class::veip},
    {11, me_class::none, unstored_class::mpls_pseudowire_tp},
    {12, me_class::none, unstored_class::efm_bonding_group},
};

constexpr association_type plain_associations[] = {
    {0, me_class::pptp},
    {1, me_class::none, unstored_class::ip_host},
    {2, me_class::mapper},
    {3, me_class::mbpcd},
    {4, me_class::none, unstored_class::xdsl_uni},
    {5, me_class::gemiw},
    {6, me_class::multigemiw},
    {7, me_class::none, unstored_class::moca_uni},
    {9, me_class::none, unstored_class::ethernet_flow_tp},
    {10, me_class::veip},
    {11, me_class::none, unstored_class::mpls_pseudowire_tp},
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

// Attributes and rows that one line of a scenario writes.
class line_writer {
public:
    line_writer(tag_operation& operation, unsigned line) : operation_(operation), line_(line) {}

    template <typename value, typename fact>
    void take(tag_attribute which, value& attribute, const std::optional<fact>& given)
    {
        if (!given)
            return;
        attribute = *given;
        note(which);
    }

    void start_table()
    {
        if (operation_.table_known)
            return;
        create_table(line_);
        note(tag_attribute::table);
    }

    void forget_table()
    {
        operation_.table_known = false;
        operation_.table_in_part = true;
        operation_.rows.clear();
        note(tag_attribute::table);
    }

    void set_row(const tag_row_image& image)
    {
        // The ONU created the default rows with the instance.
        if (!operation_.table_in_part && !operation_.table_known)
            create_table(0);
        note(tag_attribute::table);
        const table_row row{decode_row(image), line_};
        std::erase_if(operation_.rows, [&](const tag_row& one) { return same_key(one, row); });
        if (!is_deletion(image))
            operation_.rows.insert(std::ranges::upper_bound(operation_.rows, row, is_tried_before),
                                   row);
    }

private:
    void note(tag_attribute which) { operation_.lines[static_cast<size_t>(which)] = line_; }

    void create_table(unsigned line)
    {
        operation_.table_known = true;
        operation_.table_in_part = false;
        operation_.rows.clear();
        for (const tag_row& row : default_rows())
            operation_.rows.push_back({row, line});
        std::ranges::stable_sort(operation_.rows, is_tried_before);
    }

    tag_operation& operation_;
    unsigned line_;
};

} // namespace

const char* name_of(tag_attribute attribute)
{
    constexpr std::array<const char*, tag_attribute_count> names = {
        "association", "associated",    "input_tpid",    "output_tpid",  "dscp_map",
        "rows",        "enhanced_mode", "upstream_mode", "upstream_tci", "downstream_mode"};
    return names.at(static_cast<size_t>(attribute));
}

void apply(const tag_facts& facts, tag_operation& operation, unsigned line)
{
    using enum tag_attribute;
    line_writer to(operation, line);
    operation.class_id = facts.class_id;
    to.take(association, operation.association, facts.association);
    to.take(associated, operation.associated, facts.associated);
    to.take(input_tpid, operation.input_tpid, facts.input_tpid);
    to.take(output_tpid, operation.output_tpid, facts.output_tpid);
    to.take(downstream_mode, operation.downstream_mode, facts.downstream_mode);
    to.take(dscp_map, operation.dscp_map, facts.dscp_map);
    to.take(enhanced_mode, operation.enhanced_mode, facts.enhanced_mode);
    if (facts.unknown_rows)
        to.forget_table();
    if (facts.default_rows)
        to.start_table();
    for (const tag_row_image& row : facts.rows)
        to.set_row(row);
    to.take(upstream_mode, operation.upstream_mode, facts.upstream_mode);
    to.take(upstream_tci, operation.upstream_tci, facts.upstream_tci);
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

void set_row(tag_operation& operation, const tag_row_image& image, unsigned line)
{
    line_writer(operation, line).set_row(image);
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
    if (!known)
        return "type " + std::to_string(association);
    return std::string(
        find_title(known->unstored != 0 ? known->unstored : gpon::class_number(known->class_id)));
}

} // namespace gponflow
