// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/tables.h"

#include <sstream>

#include "tool/explain/explain_output.h"
#include "tool/report/frame_text.h"
#include "tool/text/escape.h"

namespace gponflow {

namespace {

// In the order of the path of a frame.
constexpr std::array<uint32_t, 4> kinds_in_order = {0, 1, 3, 2};

template_value list()
{
    return template_value(template_value::type::list);
}

template_value number(uint64_t value)
{
    return std::to_string(value);
}

std::string direction_name(uint32_t kind)
{
    constexpr std::array<const char*, 4> names = {"up_uni", "up_ani", "down_uni", "down_ani"};
    return names.at(kind);
}

const char* fate_name(frame_fate fate)
{
    switch (fate) {
    case frame_fate::passed:
        return "passed";
    case frame_fate::dropped:
        return "dropped";
    default:
        return "untouched";
    }
}

template_value key_values(const flow_key& key)
{
    template_value row;
    row.set("source", to_text(key.source));
    row.set("destination", to_text(key.destination));
    row.set("tags", to_text(key.tags));
    row.set("tag_order", number(key.tags.empty() ? 0 : 1 + (key.tags[0].tci & 0xfff)));
    return row;
}

std::string share(uint64_t part, uint64_t whole)
{
    return std::to_string(whole ? (100 * part + whole / 2) / whole : 0);
}

// Without the folders of a capture, which are at the top of the page.
std::string short_place(const std::string& place)
{
    const size_t slash = place.rfind('/');
    return escape(slash == place.npos ? place : place.substr(slash + 1));
}

template_value drop_value(const drop_row& drop, uint64_t all_frames)
{
    std::ostringstream text;
    print_explanation(drop.example, text);
    template_value row;
    row.set("direction", direction_title(drop.kind));
    row.set("reason", escape(drop.reason));
    row.set("frames", number(drop.frames));
    row.set("all_frames", number(all_frames));
    row.set("tags", (drop.tags.empty() ? "" : "VLAN ") + to_text(drop.tags));
    row.set("first", escape(drop.first));
    row.set("explanation", text.str());
    row.set("octets", number(drop.example.input.frame.wire_length));
    row.set("dump", hex_dump(drop.example.input.frame.data));
    return row;
}

} // namespace

template_value direction_values(const report_data& data)
{
    template_value rows = list();
    for (const uint32_t kind : kinds_in_order) {
        const direction_row& direction = data.directions.at(kind);
        if (direction.frames == 0)
            continue;
        template_value row;
        row.set("title", direction_title(kind));
        row.set("name", direction_name(kind));
        row.set("frames", number(direction.frames));
        row.set("passed", number(direction.passed));
        row.set("dropped", number(direction.dropped));
        row.set("untouched", number(direction.untouched));
        row.set("quick", number(direction.quick));
        row.set("passed_share", share(direction.passed, direction.frames));
        row.set("dropped_share", share(direction.dropped, direction.frames));
        rows << row;
    }
    return rows;
}

template_value drop_values(const report_data& data)
{
    template_value rows = list();
    for (const drop_row& drop : data.drops)
        rows << drop_value(drop, data.directions.at(drop.kind).frames);
    return rows;
}

template_value flow_values(const report_data& data)
{
    template_value rows = list();
    for (const flow_row& flow : data.flows) {
        template_value row = key_values(flow.key);
        row.set("direction", direction_name(flow.kind));
        row.set("direction_title", direction_title(flow.kind));
        row.set("entry", flow.entry);
        row.set("type", flow.type);
        row.set("fate", fate_name(flow.fate));
        row.set("outcome", escape(flow.outcome));
        row.set("frames", number(flow.frames));
        row.set("octets", number(flow.octets));
        row.set("quick", number(flow.quick));
        row.set("first", short_place(flow.first));
        row.set("way", path_text(flow.way, "|"));
        row.set("has_way", flow.way.size() > 1);
        rows << row;
    }
    return rows;
}

template_value rule_values(const report_data& data)
{
    template_value rows = list();
    if (!data.rules)
        return rows;
    for (const dumped_rule& rule : data.rules->rules) {
        char hash[16];
        std::snprintf(hash, sizeof(hash), "0x%08x", rule.hash);
        template_value row = key_values(rule.key);
        row.set("hash", hash);
        row.set("index", number(rule.index));
        row.set("port", number(rule.port));
        row.set("direction", rule.key.direction);
        row.set("steps", rule.steps.empty() ? "none: the frame passes" : path_text(rule.steps));
        row.set("has_way", rule.steps.size() > 1);
        row.set("way", path_text(rule.steps, "|"));
        rows << row;
    }
    return rows;
}

template_value finding_values(const report_data& data)
{
    template_value rows = list();
    for (const finding& one : data.findings) {
        template_value row;
        row.set("weight", name_of(one.weight));
        row.set("where", to_text(one.where));
        row.set("line", number(one.line));
        row.set("reason", escape(one.reason));
        row.set("change", escape(one.change));
        rows << row;
    }
    return rows;
}

} // namespace gponflow
