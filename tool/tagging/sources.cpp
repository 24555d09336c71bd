// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/sources.h"

namespace gponflow {

namespace {

bool compares_input_tpid(const row_tag& filter)
{
    return filter.priority < default_rule && filter.tpid >= 5;
}

bool compares_input_tpid(const tag_row& row)
{
    return (tags_of(row) == 2 && compares_input_tpid(row.filter_outer)) ||
           (tags_of(row) != 0 && compares_input_tpid(row.filter_inner));
}

bool writes_output_tpid(const row_tag& treatment)
{
    const uint8_t code = treatment.tpid;
    return treatment.priority != add_no_tag && (code == 2 || code == 3 || code >= 6);
}

void add(const tag_operation& operation, tag_attribute attribute,
         std::vector<attribute_source>& sources)
{
    if (const unsigned line = operation.line_of(attribute); line != 0)
        sources.push_back({name_of(attribute), line});
}

} // namespace

std::vector<attribute_source> upstream_sources(const tag_operation& operation, const table_row& row)
{
    std::vector<attribute_source> sources = {{"row", row.line}};
    if (compares_input_tpid(row))
        add(operation, tag_attribute::input_tpid, sources);
    if (writes_output_tpid(row.outer) || writes_output_tpid(row.inner))
        add(operation, tag_attribute::output_tpid, sources);
    if (row.outer.priority == priority_of_dscp || row.inner.priority == priority_of_dscp)
        add(operation, tag_attribute::dscp_map, sources);
    return sources;
}

std::vector<attribute_source> downstream_sources(const tag_operation& operation,
                                                 const table_row& row)
{
    std::vector<attribute_source> sources = {{"row", row.line}};
    add(operation, tag_attribute::downstream_mode, sources);
    if (compares_input_tpid(row))
        add(operation, tag_attribute::input_tpid, sources);
    return sources;
}

std::vector<attribute_source> sources_of(const tag_operation& operation,
                                         std::initializer_list<tag_attribute> attributes)
{
    std::vector<attribute_source> sources;
    for (const tag_attribute one : attributes)
        if (sources.empty())
            sources.push_back({name_of(one), operation.line_of(one)});
        else
            add(operation, one, sources);
    return sources;
}

std::vector<attribute_source> table_fault_sources(const tag_operation& operation)
{
    return sources_of(operation, {operation.enhanced_mode != 0 ? tag_attribute::enhanced_mode
                                                               : tag_attribute::table});
}

} // namespace gponflow
