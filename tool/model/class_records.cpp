// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/class_records.h"

#include <algorithm>
#include <bit>
#include <cctype>

#include "me/class_table.h"
#include "tool/text/class_titles.h"

static_assert(std::endian::native == std::endian::little, "raw records are little-endian");

namespace gponflow {

namespace {

// Never printed, so the notation is not used.
constexpr gpon_me_field default_configuration_fields[] = {
    GPON_FIELD(gpon_flow_cfg_data, upstream_queue_num, decimal),
    GPON_FIELD(gpon_flow_cfg_data, related_port_boundary, hex),
    GPON_FIELD(gpon_flow_cfg_data, default_ts_pointer, hex),
    GPON_FIELD(gpon_flow_cfg_data, default_weight, decimal),
    GPON_FIELD(gpon_flow_cfg_data, queues_per_uni, decimal),
    GPON_FIELD(gpon_flow_cfg_data, queues_per_tcont, decimal),
    GPON_FIELD(gpon_flow_cfg_data, downstream_queue_base, decimal),
    GPON_FIELD(gpon_flow_cfg_data, tcont_base, decimal),
    GPON_FIELD(gpon_flow_cfg_data, traffic_mgmt_option, decimal),
};

std::vector<recordable_links> links_of(const gpon_me_list_info& info)
{
    std::vector<recordable_links> links;
    for (const gpon_me_related_info* row = info.related_info;
         row->related_class_id != me_class::none; ++row)
        links.push_back(
            {row->related_class_id, static_cast<size_t>(row->related_inst_num), row->name});
    return links;
}

class_record record_of(const gpon_me_entry& entry)
{
    const gpon_me_list_info& info = *entry.list_info;
    return {.id = entry.class_id,
            .name = entry.name,
            .raw_size = static_cast<size_t>(info.raw_size),
            .created_by_links = entry.explicit_create != CREATED_BY_OLT,
            .scheduling = entry.fwd_op && !entry.fwd_op->forward,
            .fields = info.fields,
            .pointers = info.pointers,
            .links = links_of(info),
            .fill_defaults = info.fill_defaults};
}

bool same_letters(std::string_view left, std::string_view right)
{
    return std::ranges::equal(
        left, right, {}, [](unsigned char c) { return std::toupper(c); },
        [](unsigned char c) { return std::toupper(c); });
}

template <typename Matches> const class_record* find_if(Matches matches)
{
    const std::span<const class_record> all = me_classes();
    const auto found = std::ranges::find_if(all, matches);
    return found == all.end() ? nullptr : &*found;
}

} // namespace

std::span<const class_record> me_classes()
{
    // Row 0 of the class table is empty.
    static const std::vector<class_record> all = [] {
        std::vector<class_record> records;
        for (const gpon_me_entry& entry : std::span(me_table).subspan(1))
            records.push_back(record_of(entry));
        return records;
    }();
    return all;
}

const class_record* find_me_class(me_class id)
{
    return find_if([id](const class_record& one) { return one.id == id; });
}

const class_record* find_me_class(std::string_view name)
{
    return find_if([name](const class_record& one) { return same_letters(one.name, name); });
}

std::string class_name(me_class id)
{
    const class_record* known = find_me_class(id);
    return known ? std::string(known->name) : "class " + std::to_string(gpon::class_number(id));
}

std::string class_title(me_class id)
{
    const std::string_view title = find_title(gpon::class_number(id));
    return title.empty() ? class_name(id) : std::string(title);
}

std::span<const gpon_me_field> cfg_fields()
{
    return default_configuration_fields;
}

const gpon_me_field* find_field(std::span<const gpon_me_field> fields, std::string_view name)
{
    const auto found =
        std::ranges::find_if(fields, [name](const gpon_me_field& one) { return name == one.name; });
    return found == fields.end() ? nullptr : &*found;
}

bool is_byte_string(const gpon_me_field& field)
{
    return field.count > 1 && field.width == 1;
}

} // namespace gponflow
