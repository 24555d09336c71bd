// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/show_table.h"

#include <algorithm>
#include <map>
#include <ostream>

#include "tool/model/class_records.h"
#include "tool/text/hex_text.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

std::string text_of(const dumped_attribute& attribute, const gpon_me_field& field)
{
    std::string text;
    if (is_byte_string(field)) {
        for (const uint32_t value : attribute.values)
            text += hex_text(value, 2).substr(2);
        return text;
    }
    for (const uint32_t value : attribute.values) {
        text += text.empty() ? "" : ",";
        text += field.notation == gpon_notation::decimal ? std::to_string(value)
                                                         : hex_text(value, 2 * field.width);
    }
    return text;
}

std::string text_of(const dumped_link& link)
{
    std::string text;
    for (const uint16_t instance : link.instances)
        text += (text.empty() ? "" : ",") + hex_text(instance, 4);
    return (text.empty() ? "-" : text) + (link.cut ? ",..." : "");
}

text_table table_of(const class_record& fields, const std::vector<dumped_instance>& all)
{
    text_table table;
    for (const dumped_instance& one : all) {
        if (one.id.class_id != fields.id)
            continue;
        std::vector<std::string>& row = table.rows.emplace_back();
        std::vector<std::string> titles;
        for (const dumped_attribute& attribute : one.attributes) {
            titles.push_back(attribute.name);
            const gpon_me_field* field = find_field(fields.fields, attribute.name);
            row.push_back(field ? text_of(attribute, *field) : std::string());
        }
        for (const dumped_link& link : one.links) {
            titles.push_back(link.name);
            row.push_back(text_of(link));
        }
        if (table.titles.empty())
            table.titles = std::move(titles);
    }
    // A lost line leaves cells missing.
    for (std::vector<std::string>& row : table.rows)
        row.resize(table.titles.size());
    return table;
}

} // namespace

void print_rules(const rule_table& table, std::ostream& out, const palette& colours)
{
    text_table lines{{"DIRECTION", "SOURCE", "DESTINATION", "VLAN", "PATH"}, {}};
    for (const dumped_rule& rule : table.rules)
        lines.rows.push_back({rule.key.direction, to_text(rule.key.source),
                              to_text(rule.key.destination), to_text(rule.key.tags),
                              path_text(rule.steps)});
    lines.print(out, colours);
    out << counted(table.total, "rule") << " in " << table.buckets
        << " buckets; the table grows at " << table.threshold << '\n';
}

void print_instances(const std::vector<dumped_instance>& all, std::ostream& out,
                     const palette& colours)
{
    for (const class_record& fields : me_classes()) {
        const text_table table = table_of(fields, all);
        if (table.rows.empty())
            continue;
        out << colours.heading(fields.name) << " (class " << gpon::class_number(fields.id) << ")\n";
        table.print(out, {}, "  ");
    }
    out << counted(all.size(), "instance") << '\n';
}

void print_status(const module_status& status, std::ostream& out, const palette& colours)
{
    if (!status.loaded) {
        out << "module     " << colours.bad("not loaded") << '\n';
        return;
    }
    out << "module     loaded\n"
        << "engine     "
        << (status.enabled ? colours.good("enabled")
                           : colours.bad("disabled, frames are not classified"))
        << "\nrules      " << status.rules.total << " in " << status.rules.buckets
        << " buckets; the table grows at " << status.rules.threshold << "\ninstances  "
        << status.instances.size() << '\n';
    std::map<me_class, size_t> counts;
    for (const dumped_instance& one : status.instances)
        ++counts[one.id.class_id];
    for (const class_record& fields : me_classes())
        if (const size_t count = counts[fields.id])
            out << "  " << fields.name << std::string(34 - fields.name.size(), ' ') << count
                << '\n';
}

} // namespace gponflow
