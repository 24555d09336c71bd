// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/line_diff.h"

#include <array>
#include <cstdio>
#include <map>
#include <ostream>

#include <nlohmann/json.hpp>

#include "tool/model/instance_json.h"
#include "tool/model/tagging_diff.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

std::string value_text(const me_instance& of, const gpon_me_field& field, size_t element)
{
    unsigned value = 0;
    const size_t at = field.offset + element * field.width;
    for (size_t i = field.width; i-- > 0;)
        value = value << 8 | (at + i < of.raw.size() ? of.raw[at + i] : 0u);
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), field.width == 2 ? "0x%04x" : "%u", value);
    return text.data();
}

std::string field_text(const me_instance& of, const gpon_me_field& field)
{
    std::string text;
    for (size_t i = 0; i < field.count; ++i)
        text += (i ? "," : "") + value_text(of, field, i);
    return text;
}

std::span<const gpon_me_field> fields_of(me_id id)
{
    const class_record* known = find_me_class(id.class_id);
    return known ? known->fields : std::span<const gpon_me_field>{};
}

std::map<me_id, const me_instance*> by_id(const line_model& entities)
{
    std::map<me_id, const me_instance*> result;
    for (const me_instance* one : entities.all())
        result.emplace(one->id, one);
    return result;
}

void compare(const me_instance& left, const me_instance& right, line_difference& into)
{
    for (const gpon_me_field& field : fields_of(left.id)) {
        changed_attribute one{left.id,
                              field.name,
                              field_text(left, field),
                              field_text(right, field),
                              left.line_of(field.name),
                              right.line_of(field.name)};
        if (one.left != one.right)
            into.changed.push_back(std::move(one));
    }
}

void print_instances(char sign, const std::vector<me_id>& ids, const line_model& entities,
                     std::ostream& out)
{
    for (const me_id id : ids)
        out << sign << ' ' << to_text(id) << ' ' << attributes_text(*entities.find(id)) << '\n';
}

// Members with the line, and the frame of a capture, that set a value of one side.
void add_place(const std::string& side, unsigned line, const line_places& places, json& to)
{
    if (line == 0)
        return;
    to[side + "_line"] = line;
    if (const auto frame = places.frame(line))
        to[side + "_frame"] = *frame;
}

json ids_json(const std::vector<me_id>& ids)
{
    json all = json::array();
    for (const me_id id : ids)
        all.push_back(id_json(id));
    return all;
}

} // namespace

line_difference difference_of(const line_model& left, const line_model& right)
{
    line_difference result;
    const auto of_left = by_id(left);
    const auto of_right = by_id(right);
    for (const auto& [id, one] : of_left) {
        const auto other = of_right.find(id);
        if (other == of_right.end())
            result.only_left.push_back(id);
        else
            compare(*one, *other->second, result);
    }
    for (const auto& [id, one] : of_right)
        if (!of_left.contains(id))
            result.only_right.push_back(id);
    compare_tagging(left, right, result);
    return result;
}

std::string attributes_text(const me_instance& of)
{
    std::string text;
    for (const gpon_me_field& field : fields_of(of.id)) {
        const std::string value = field_text(of, field);
        const bool zero = value.find_first_not_of("0x,") == value.npos;
        if (!zero && field.offset != 0)
            text += (text.empty() ? "" : " ") + std::string(field.name) + "=" + value;
    }
    return text;
}

void print_difference(const line_difference& difference, const line_model& left,
                      const line_model& right, std::ostream& out)
{
    print_instances('-', difference.only_left, left, out);
    print_instances('+', difference.only_right, right, out);
    for (const changed_attribute& one : difference.changed)
        out << "~ " << to_text(one.id) << ' ' << one.name << ": " << one.left << " -> " << one.right
            << '\n';
    out << counted(difference.only_left.size(), "instance") << " only in the first, "
        << counted(difference.only_right.size(), "instance") << " only in the second, "
        << counted(difference.changed.size(), "attribute") << " changed\n";
}

void print_difference_json(const line_difference& difference, const line_places& left,
                           const line_places& right, std::ostream& out)
{
    json changed = json::array();
    for (const changed_attribute& one : difference.changed) {
        json entry = id_json(one.id);
        entry["attribute"] = one.name;
        entry["first"] = one.left;
        entry["second"] = one.right;
        add_place("first", one.left_line, left, entry);
        add_place("second", one.right_line, right, entry);
        changed.push_back(std::move(entry));
    }
    json whole = json_document("diff");
    whole["first"] = left.file;
    whole["second"] = right.file;
    whole["only_in_first"] = ids_json(difference.only_left);
    whole["only_in_second"] = ids_json(difference.only_right);
    whole["changed"] = std::move(changed);
    print_json(whole, out);
}

} // namespace gponflow
