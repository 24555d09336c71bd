// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/instance_json.h"

#include <nlohmann/json.hpp>

namespace gponflow {

namespace {

unsigned value_at(const me_instance& me, size_t at, size_t width)
{
    unsigned value = 0;
    for (size_t i = width; i-- > 0;)
        value = value << 8 | (at + i < me.raw.size() ? me.raw[at + i] : 0u);
    return value;
}

} // namespace

json id_json(me_id id)
{
    const class_record* known = find_me_class(id.class_id);
    return {{"class", known ? known->name : ""},
            {"class_id", gpon::class_number(id.class_id)},
            {"instance", id.instance}};
}

json attributes_json(const me_instance& me)
{
    json result = json::object();
    const class_record* record = find_me_class(me.id.class_id);
    if (record == nullptr)
        return result;
    for (const gpon_me_field& field : record->fields) {
        json values = json::array();
        for (size_t i = 0; i < field.count; ++i)
            values.push_back(value_at(me, field.offset + i * field.width, field.width));
        result[std::string(field.name)] = field.count == 1 ? values.front() : std::move(values);
    }
    return result;
}

json sources_json(const std::vector<attribute_source>& sources, const line_places& places)
{
    json all = json::array();
    for (const attribute_source& one : sources) {
        if (one.line == 0)
            continue;
        json entry = {{"attribute", one.attribute}, {"line", one.line}};
        if (const auto frame = places.frame(one.line))
            entry["frame"] = *frame;
        all.push_back(std::move(entry));
    }
    return all;
}

} // namespace gponflow
