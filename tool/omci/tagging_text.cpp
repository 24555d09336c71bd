// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/tagging_text.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <vector>

#include "include/me_class_id.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/frame.h"
#include "tool/omci/scenario_text.h"
#include "tool/tagging/operation.h"

namespace gponflow::omci {

namespace {

enum class notation { decimal, hexadecimal, bytes };

struct tagging_attribute {
    std::string_view name; // of omci::attribute
    tag_attribute option;
    notation written;
};

constexpr tagging_attribute extended_attributes[] = {
    {"association type", tag_attribute::association, notation::decimal},
    {"input TPID", tag_attribute::input_tpid, notation::hexadecimal},
    {"output TPID", tag_attribute::output_tpid, notation::hexadecimal},
    {"downstream mode", tag_attribute::downstream_mode, notation::decimal},
    {"received frame VLAN tagging operation table", tag_attribute::table, notation::bytes},
    {"associated ME pointer", tag_attribute::associated, notation::hexadecimal},
    {"DSCP to P-bit mapping", tag_attribute::dscp_map, notation::bytes},
    {"enhanced mode", tag_attribute::enhanced_mode, notation::decimal},
};

constexpr tagging_attribute plain_attributes[] = {
    {"upstream VLAN tagging operation mode", tag_attribute::upstream_mode, notation::decimal},
    {"upstream VLAN tag TCI value", tag_attribute::upstream_tci, notation::hexadecimal},
    {"downstream VLAN tagging operation mode", tag_attribute::downstream_mode, notation::decimal},
    {"association type", tag_attribute::association, notation::decimal},
    {"associated ME pointer", tag_attribute::associated, notation::hexadecimal},
};

std::span<const tagging_attribute> attributes_of(me_class class_id)
{
    if (class_id == me_class::evtocd)
        return extended_attributes;
    if (class_id == me_class::vtocd)
        return plain_attributes;
    return {};
}

const tagging_attribute* find_tagging(me_class class_id, size_t index)
{
    const attribute_class* cls = find_attribute_class(class_id);
    if (!cls || index >= cls->attributes.size())
        return nullptr;
    const auto all = attributes_of(class_id);
    const auto found =
        std::ranges::find(all, cls->attributes[index].name, &tagging_attribute::name);
    return found == all.end() ? nullptr : &*found;
}

// A set writes one row of the table.
std::string_view option_of(const tagging_attribute& attr)
{
    return attr.option == tag_attribute::table ? "row" : name_of(attr.option);
}

std::string value_text(const tagging_attribute& attr, std::span<const uint8_t> bytes)
{
    if (attr.written == notation::bytes)
        return hex_bytes(bytes);
    const uint32_t value = bytes.size() == 1 ? bytes[0] : read_u16(bytes, 0);
    return attr.written == notation::decimal ? std::to_string(value) : hex_text(value, 4);
}

tag_row_image image_of(std::span<const uint8_t> bytes)
{
    tag_row_image image{};
    std::ranges::copy(bytes.first(std::min(bytes.size(), image.size())), image.begin());
    return image;
}

std::string start_text(table_start start)
{
    constexpr std::array<const char*, 3> texts = {"", " rows=default", " rows=unknown"};
    return texts[static_cast<size_t>(start)];
}

std::string line_of(me_class class_id, uint16_t instance, const std::string& options)
{
    return "tagging " + class_name(class_id) + " " + hex_text(instance, 4) + options + "\n";
}

std::string row_comment(std::span<const uint8_t> bytes)
{
    const tag_row_image image = image_of(bytes);
    const tag_row row = decode_row(image);
    return comment_line(is_deletion(image) ? "  deletes the row: " + filter_text(row)
                                           : "  row: " + row_text(row));
}

std::string row_line(uint16_t instance, std::span<const uint8_t> bytes)
{
    return row_comment(bytes) + line_of(me_class::evtocd, instance, " row=" + hex_bytes(bytes));
}

std::string comment_on_change(std::string& above, const std::string& frames)
{
    return std::exchange(above, frames) == frames ? "" : report_comment(frames);
}

} // namespace

bool is_tagging_attribute(me_class class_id, size_t index)
{
    return find_tagging(class_id, index) != nullptr;
}

std::string tagging_lines(me_class class_id, uint16_t instance, table_start start,
                          const value_list& list)
{
    std::string options;
    std::string comment;
    for (const attribute_value& value : list.values) {
        const tagging_attribute* attr = find_tagging(class_id, value.index);
        if (!attr)
            continue;
        options += " " + std::string(option_of(*attr)) + "=" + value_text(*attr, value.bytes);
        if (class_id == me_class::evtocd && value.index == attribute_index::tagging_table)
            comment += row_comment(value.bytes);
    }
    if (class_id == me_class::evtocd)
        options += start_text(start);
    return options.empty() ? "" : comment + line_of(class_id, instance, options);
}

std::string table_lines(uint16_t instance, const read_table& table, const std::string& frames)
{
    std::string text =
        line_of(me_class::evtocd, instance, start_text(table_start::with_default_rows));
    std::vector<tag_row> missing = default_rows();
    std::string above = frames;
    const std::span<const uint8_t> rows = table.bytes;
    for (size_t i = 0; i < rows.size() / tag_row_bytes; ++i) {
        const auto row = rows.subspan(i * tag_row_bytes, tag_row_bytes);
        text += comment_on_change(above, table.frames.at(i)) + row_line(instance, row);
        std::erase_if(missing,
                      [&](const tag_row& one) { return same_key(one, decode_row(image_of(row))); });
    }
    // Default rows that the OLT deleted: the whole table shows it.
    for (const tag_row& one : missing) {
        tag_row_image image = encode_row(one);
        std::fill(image.begin() + tag_row_bytes / 2, image.end(), 0xff);
        text += comment_on_change(above, frames) + row_line(instance, image);
    }
    return text;
}

bool has_tag_row(me_class class_id, const value_list& list)
{
    return class_id == me_class::evtocd &&
           std::ranges::find(list.values, attribute_index::tagging_table,
                             &attribute_value::index) != list.values.end();
}

} // namespace gponflow::omci
