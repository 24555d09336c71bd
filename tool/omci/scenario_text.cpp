// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/scenario_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "tool/omci/frame.h"
#include "tool/omci/tagging_text.h"

namespace gponflow::omci {

namespace {

constexpr int id_digits = 4;

uint32_t element_value(const record& rec, const gpon_me_field& field, size_t element)
{
    uint32_t value = 0;
    for (size_t i = field.width; i > 0; --i)
        value = value << 8 | rec.raw[field.offset + element * field.width + i - 1];
    return value;
}

std::span<const uint8_t> field_bytes(const record& rec, const gpon_me_field& field)
{
    return std::span(rec.raw).subspan(field.offset, size_t{field.width} * field.count);
}

// Ids, codes and the elements of lists are hexadecimal.
bool is_hexadecimal(const gpon_me_field& field)
{
    return field.notation == gpon_notation::hex || field.count > 1;
}

std::string field_value(const record& rec, const gpon_me_field& field)
{
    if (is_byte_string(field))
        return hex_bytes(field_bytes(rec, field));
    size_t count = field.count; // omitted values at the end are 0
    while (count > 1 && element_value(rec, field, count - 1) == 0)
        --count;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t value = element_value(rec, field, i);
        text += i == 0 ? "" : ",";
        text += is_hexadecimal(field) ? hex_text(value, 2 * field.width) : std::to_string(value);
    }
    return text;
}

// In the order of the raw record.
std::vector<gpon_me_field> by_place(std::span<const gpon_me_field> fields)
{
    std::vector<gpon_me_field> sorted(fields.begin(), fields.end());
    std::ranges::sort(sorted, {}, &gpon_me_field::offset);
    return sorted;
}

bool named_by_mask(const attribute_class& cls, uint16_t mask, const gpon_me_field& field)
{
    for (size_t i = 0; i < cls.attributes.size(); ++i) {
        if ((mask & attribute_bit(i)) != 0 && cls.attributes[i].is_stored() &&
            cls.attributes[i].field.offset == field.offset)
            return true;
    }
    return false;
}

std::string head(std::string_view verb, const class_record& fields, uint16_t instance)
{
    return "me " + std::string(verb) + " " + std::string(fields.name) + " " +
           hex_text(instance, id_digits);
}

} // namespace

std::string hex_bytes(std::span<const uint8_t> bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xf];
    }
    return text;
}

std::string me_line(std::string_view verb, const class_record& fields, const attribute_class& cls,
                    uint16_t instance, uint16_t mask, const record& rec)
{
    std::string line = head(verb, fields, instance) + " mask=" + hex_text(mask, id_digits);
    for (const gpon_me_field& field : by_place(fields.fields)) {
        if (field.offset == 0) // instID is the instance
            continue;
        if (all_zero(field_bytes(rec, field)) && !named_by_mask(cls, mask, field))
            continue;
        line += " " + std::string(field.name) + "=" + field_value(rec, field);
    }
    return line;
}

std::string delete_line(const class_record& fields, uint16_t instance)
{
    return head("delete", fields, instance);
}

std::string unmirrored_text(const attribute_class& cls, const value_list& list)
{
    std::string text;
    for (const attribute_value& value : list.values) {
        const attribute& attr = cls.attributes[value.index];
        if (attr.is_stored() || is_tagging_attribute(cls.id, value.index))
            continue;
        text +=
            (text.empty() ? "" : ", ") + std::string(attr.name) + " 0x" + hex_bytes(value.bytes);
    }
    return text;
}

std::string report_comment(const std::string& frames)
{
    return comment_line(frames + ": reported by the ONU");
}

std::string comment_line(std::string_view text)
{
    std::string line = text.empty() ? "#" : "# ";
    for (const char letter : text)
        line += static_cast<unsigned char>(letter) < ' ' || letter == 0x7f ? '?' : letter;
    return line + "\n";
}

} // namespace gponflow::omci
