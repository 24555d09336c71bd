// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/entity_text.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "include/tci.h"
#include "tool/model/bandwidth_tree.h"
#include "tool/model/tag_set.h"
#include "tool/text/class_titles.h"

namespace gponflow {

namespace {

struct unit {
    std::string_view attribute;
    const char* text;
};

constexpr unit units[] = {
    {"cir", " byte/s"}, {"pir", " byte/s"},      {"cbs", " byte"},
    {"pbs", " byte"},   {"helloTime", "/256 s"}, {"dynFilterAgingTime", " s"},
};

const char* unit_of(std::string_view attribute)
{
    const auto* found = std::ranges::find(units, attribute, &unit::attribute);
    return found == std::end(units) ? "" : found->text;
}

std::string hex(unsigned value, unsigned bytes)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%0*x", static_cast<int>(2 * bytes), value);
    return text;
}

std::string vlans(const gpon_raw_vtfd& filter)
{
    std::string list;
    for (const uint16_t tci : listed_tcis(filter))
        list += (list.empty() ? "" : ", ") + tci_text(tci);
    return list.empty() ? "no VLAN" : "VLAN " + list;
}

std::string value_text(const gpon_me_field& field, const bytes& raw, unsigned element)
{
    const uint32_t value = gpon::field_value(field, raw.data(), element);
    return field.notation == gpon_notation::hex ? hex(value, field.width) : std::to_string(value);
}

std::string byte_string(const gpon_me_field& field, const bytes& raw)
{
    const auto begin = raw.begin() + field.offset;
    if (std::all_of(begin, begin + field.count, [](uint8_t one) { return one == 0; }))
        return "0";
    std::string text = "0x";
    for (unsigned i = 0; i < field.count; ++i)
        text += hex(gpon::field_value(field, raw.data(), i), 1).substr(2);
    return text;
}

// Equal neighbours once, with their count.
std::string list_text(const gpon_me_field& field, const bytes& raw)
{
    std::string text;
    for (unsigned i = 0; i < field.count;) {
        const std::string value = value_text(field, raw, i);
        unsigned same = 1;
        while (i + same < field.count && value_text(field, raw, i + same) == value)
            ++same;
        text += (text.empty() ? "" : " ") + value + (same > 1 ? " ×" + std::to_string(same) : "");
        i += same;
    }
    return text;
}

std::string field_text(const gpon_me_field& field, const me_instance& me)
{
    const std::string name = field.name;
    if (name == "vlanFilterList")
        return name + " " + vlans(me.as<gpon_raw_vtfd>());
    if (is_byte_string(field))
        return name + " " + byte_string(field, me.raw);
    return name + " " +
           (field.count > 1 ? list_text(field, me.raw) : value_text(field, me.raw, 0)) +
           unit_of(name);
}

} // namespace

std::string kind_text(me_class class_id)
{
    const std::string_view caption = find_caption(gpon::class_number(class_id));
    return caption.empty() ? class_name(class_id) : std::string(caption);
}

std::string known_by(const me_instance& me)
{
    switch (me.id.class_id) {
    case me_class::gemctp:
        return "GEM port " + std::to_string(me.as<gpon_raw_gemctp>().portID);
    case me_class::vtfd:
        return vlans(me.as<gpon_raw_vtfd>());
    case me_class::tcont:
        return "alloc-ID " + std::to_string(me.as<gpon_raw_tcont>().allocID);
    case me_class::td:
        return rate_text(me.as<gpon_raw_td>().pir);
    default:
        return {};
    }
}

std::string tci_text(uint16_t tci)
{
    const unsigned priority = gpon::priority_of(tci);
    return std::to_string(gpon::vlan_of(tci)) + (priority ? " p" + std::to_string(priority) : "");
}

std::string attribute_text(const me_instance& me)
{
    const class_record* known = find_me_class(me.id.class_id);
    std::string text;
    if (!known || me.raw.size() < known->raw_size)
        return text;
    for (const gpon_me_field& field : known->fields)
        if (field.offset != 0) // the id, which is beside it
            text += (text.empty() ? "" : ", ") + field_text(field, me);
    return text;
}

std::string priority_list(const std::vector<unsigned>& priorities)
{
    std::string text;
    for (size_t i = 0; i < priorities.size();) {
        size_t last = i;
        while (last + 1 < priorities.size() && priorities[last + 1] == priorities[last] + 1)
            ++last;
        text += (text.empty() ? "" : ", ") + std::to_string(priorities[i]);
        if (last > i)
            text += "-" + std::to_string(priorities[last]);
        i = last + 1;
    }
    return text;
}

} // namespace gponflow
