// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/tagging_text.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <vector>

#include "include/me_class_id.h"
#include "tool/omci/frame.h"
#include "tool/omci/scenario_text.h"
#include "tool/tagging/operation.h"

namespace gponflow::omci {

namespace {

enum class notation { decimal, hexadecimal, bytes };

struct tagging_attribute {
    size_t index; // in attribute_class::attributes
    std::string_view option;
    notation written;
};

constexpr tagging_attribute extended_attributes[] = {
    {0, "association", notation::decimal},     {2, "input_tpid", notation::hexadecimal},
    {3, "output_tpid", notation::hexadecimal}, {4, "downstream_mode", notation::decimal},
    {tag_table_index, "row", notation::bytes}, {6, "associated", notation::hexadecimal},
    {7, "dscp_map", notation::bytes},          {8, "enhanced_mode", notation::decimal},
};

constexpr tagging_attribute plain_attributes[] = {
    {0, "upstream_mode", notation::decimal},   {1, "upstream_tci", notation::hexadecimal},
    {2, "downstream_mode", notation::decimal}, {3, "association", notation::decimal},
    {4, "associated", notation::hexadecimal},
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
    const auto all = attributes_of(class_id);
    const auto found = std::ranges::find(all, index, &tagging_attribute::index);
    return found == all.end() ? nullptr : &*found;
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
        options += " " + std::string(attr->option) + "=" + value_text(*attr, value.bytes);
        if (class_id == me_class::evtocd && value.index == tag_table_index)
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
           std::ranges::find(list.values, tag_table_index, &attribute_value::index) !=
               list.values.end();
}

} // namespace gponflow::omci
