// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/onu_facts.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "tool/omci/defaults.h"
#include "tool/omci/mib.h"
#include "tool/text/class_titles.h"
#include "tool/text/escape.h"

namespace gponflow::omci {

namespace {

constexpr attribute onu2_g_attributes[] = {{"equipment id", 20, false, {}}};
constexpr attribute image_attributes[] = {
    {"version", 14, false, {}},
    {"is committed", 1, false, {}},
    {"is active", 1, false, {}},
};
constexpr attribute_class onu2_g{gpon::to_me_class(unstored_class::onu2_g), onu2_g_attributes};
constexpr attribute_class image{gpon::to_me_class(unstored_class::software_image),
                                image_attributes};
constexpr size_t is_active = 2;
constexpr uint16_t slot_mask = 0xff00; ///< of an image's instance; 0 is the ONU as a whole

// Texts are padded with zero bytes or blanks.
std::string text_of(std::span<const uint8_t> bytes)
{
    std::string text(bytes.begin(), bytes.end());
    text.erase(text.find_last_not_of(std::string_view("\0 ", 2)) + 1);
    return escape(text);
}

std::string serial_of(std::span<const uint8_t> bytes)
{
    constexpr size_t vendor_bytes = 4;
    std::string text = text_of(bytes.first(vendor_bytes));
    for (const uint8_t byte : bytes.subspan(vendor_bytes)) {
        std::array<char, 3> digits;
        std::snprintf(digits.data(), digits.size(), "%02X", byte);
        text += digits.data();
    }
    return text;
}

const attribute_class* class_of(me_class class_id)
{
    for (const attribute_class* one : {&onu_g_class(), &onu2_g, &image})
        if (one->id == class_id)
            return one;
    return nullptr;
}

void learn_onu_g(onu_facts& into, const attribute_value& value)
{
    switch (value.index) {
    case 0:
        into.vendor = text_of(value.bytes);
        break;
    case 1:
        into.version = text_of(value.bytes);
        break;
    case 2:
        into.serial = serial_of(value.bytes);
        break;
    default:
        break;
    }
}

void learn_image(software_image& into, const attribute_value& value)
{
    if (value.index == 0)
        into.version = text_of(value.bytes);
    else if (value.index == is_active)
        into.active = value.bytes[0] == 1;
}

} // namespace

void onu_facts::learn(me_class class_id, uint16_t instance, uint16_t mask,
                      std::span<const uint8_t> bytes)
{
    const attribute_class* cls = class_of(class_id);
    if (!cls || (cls == &image && (instance & slot_mask) != 0))
        return;
    const value_list list = split_values(*cls, mask, bytes);
    if (!list.fault.empty())
        return;
    for (const attribute_value& value : list.values) {
        if (cls == &image)
            learn_image(images[instance], value);
        else if (cls == &onu2_g)
            equipment = text_of(value.bytes);
        else
            learn_onu_g(*this, value);
    }
}

std::string onu_facts::firmware() const
{
    const auto active =
        std::ranges::find_if(images, [](const auto& one) { return one.second.active; });
    return active == images.end() ? "" : active->second.version;
}

json to_json(const onu_facts& facts)
{
    json result = json::object();
    const auto add = [&result](const char* name, const std::string& text) {
        if (!text.empty())
            result[name] = text;
    };
    add("vendor", facts.vendor);
    add("version", facts.version);
    add("serial", facts.serial);
    add("equipment", facts.equipment);
    add("firmware", facts.firmware());
    return result;
}

} // namespace gponflow::omci
