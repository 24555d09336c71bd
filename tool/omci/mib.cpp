// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/mib.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "include/me_class_id.h"
#include "tool/omci/scenario_text.h"
#include "tool/omci/tagging_text.h"

namespace gponflow::omci {

namespace {

uint32_t read_value(std::span<const uint8_t> bytes)
{
    uint32_t value = 0;
    for (const uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

void store_little_endian(std::span<uint8_t> place, uint32_t value)
{
    for (uint8_t& byte : place) {
        byte = static_cast<uint8_t>(value);
        value >>= 8;
    }
}

uint32_t greatest(size_t width)
{
    return width >= 4 ? 0xffffffffu : (1u << (8 * width)) - 1;
}

// One value of a field, narrowed to the greatest that its width holds.
bool write_element(record& rec, const gpon_me_field& field, size_t element,
                   std::span<const uint8_t> bytes)
{
    const uint32_t value = read_value(bytes);
    const uint32_t limit = greatest(field.width);
    const size_t at = field.offset + element * field.width;
    store_little_endian(std::span(rec.raw).subspan(at, field.width), std::min(value, limit));
    return value <= limit;
}

// The lines of an instance that no command of the scenario contains wait for it.
std::string keep_or_return(record& rec, std::string lines, const exchange& from)
{
    if (rec.written || lines.empty())
        return lines;
    rec.tagging += report_comment(frames_text(from)) + lines;
    return {};
}

void note_upload(record& rec, const exchange& from)
{
    upload_frames& frames = rec.uploaded_in;
    if (!rec.uploaded)
        frames = {from.request.frame, 0, frames_text(from)};
    else if (from.response->frame != frames.last)
        frames.text = "frames " + std::to_string(frames.first) + " to " +
                      std::to_string(from.response->frame);
    frames.last = from.response->frame;
    rec.uploaded = true;
}

} // namespace

value_list split_values(const attribute_class& cls, uint16_t mask, std::span<const uint8_t> bytes,
                        table_values tables)
{
    value_list list;
    size_t at = 0;
    for (size_t i = 0; i < attributes_per_mask; ++i) {
        if ((mask & attribute_bit(i)) == 0)
            continue;
        if (i >= cls.attributes.size()) {
            list.unknown_mask |= attribute_bit(i);
            continue;
        }
        const bool is_size = cls.attributes[i].table && tables == table_values::sizes;
        const size_t size = is_size ? table_size_bytes : cls.attributes[i].bytes;
        if (bytes.size() - at < size) {
            list.values.clear();
            list.fault = "attribute " + std::to_string(i + 1) + " ends at byte " +
                         std::to_string(at + size) + " of the values, the message holds " +
                         std::to_string(bytes.size());
            return list;
        }
        list.values.push_back({i, bytes.subspan(at, size)});
        at += size;
    }
    return list;
}

std::string write_attribute(record& rec, const attribute& attr, std::span<const uint8_t> bytes)
{
    const gpon_me_field& field = attr.field;
    if (!attr.is_stored())
        return {};
    if (is_byte_string(field)) {
        std::ranges::copy(bytes.first(std::min<size_t>(bytes.size(), field.count)),
                          rec.raw.begin() + field.offset);
        return {};
    }
    const bool list = bytes.size() > field.width && field.count > 1;
    const size_t step = list ? field.width : bytes.size();
    for (size_t at = 0; at + step <= bytes.size(); at += step) {
        if (!write_element(rec, field, attr.element + at / step, bytes.subspan(at, step)))
            return std::string(attr.name) +
                   " exceeds the field of the record: " + std::to_string(read_value(bytes)) +
                   " is stored as " + std::to_string(greatest(field.width));
    }
    return {};
}

record& record_store::at(const class_record& fields, uint16_t instance)
{
    const auto [place, made] = records.try_emplace({fields.id, instance});
    record& rec = place->second;
    if (made) {
        rec.raw.assign(fields.raw_size, 0);
        store_little_endian(std::span(rec.raw).first(2), instance); // every record starts with it
    }
    return rec;
}

std::string record_store::learn(const attribute_class& cls, uint16_t instance,
                                const value_list& list, const exchange& from)
{
    const class_record* fields = find_me_class(cls.id);
    if (fields == nullptr)
        return {};
    record& rec = at(*fields, instance);
    const uint16_t known = rec.commanded | rec.reported;
    value_list fresh;
    for (const attribute_value& value : list.values) {
        rec.reported |= attribute_bit(value.index);
        if ((rec.commanded & attribute_bit(value.index)) == 0)
            std::ignore = write_attribute(rec, cls.attributes[value.index], value.bytes);
        if ((known & attribute_bit(value.index)) == 0 && !cls.attributes[value.index].table)
            fresh.values.push_back(value);
    }
    return keep_or_return(rec, tagging_lines(cls.id, instance, table_start::unchanged, fresh),
                          from);
}

std::string record_store::learn_table(uint16_t instance, const read_table& table,
                                      const exchange& from)
{
    const class_record* fields = find_me_class(me_class::evtocd);
    if (fields == nullptr)
        return {};
    record& rec = at(*fields, instance);
    if (std::exchange(rec.table_known, true))
        return {};
    rec.table_begun = true;
    return keep_or_return(rec, table_lines(instance, table, frames_text(from)), from);
}

std::string record_store::learn_upload(const attribute_class& cls, uint16_t instance,
                                       const value_list& list, const exchange& from)
{
    if (const class_record* fields = find_me_class(cls.id))
        note_upload(at(*fields, instance), from);
    return learn(cls, instance, list, from);
}

} // namespace gponflow::omci
