// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/tables.h"

#include <algorithm>
#include <span>
#include <sstream>

#include "tool/explain/explain_output.h"
#include "tool/report/entity_text.h"
#include "tool/report/frame_text.h"
#include "tool/report/sentence.h"
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

const char* fate_name(frame_fate fate)
{
    switch (fate) {
    case frame_fate::passed:
        return "passed";
    case frame_fate::dropped:
        return "dropped";
    case frame_fate::learnt:
        return "learnt";
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
    row.set("tag_order", number(key.tags.empty() ? 0 : 1 + key.tags[0].vlan()));
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

std::string joined(const std::vector<std::string>& texts)
{
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : "; ") + escape(text);
    return all;
}

// Instances by number; those that no longer exist have none.
std::string number_list(const std::vector<me_id>& ids, const entity_numbers& numbers)
{
    std::string text;
    for (const me_id id : ids)
        if (const auto found = numbers.find(id); found != numbers.end())
            text += (text.empty() ? "" : " ") + std::to_string(found->second);
    return text;
}

// The places that rewrite the frame, then the operation that discards it.
std::vector<me_id> path_to_discard(const carried_frame& carried)
{
    std::vector<me_id> path;
    for (const tag_step& step : carried.steps)
        if (path.empty() || path.back() != step.at)
            path.push_back(step.at);
    path.push_back(carried.steps.back().operation);
    return path;
}

// The branch that ends first among the deepest, with the filter that ends it.
std::vector<me_id> path_to_drop(const explanation& example, const std::vector<me_id>& deciding)
{
    if (const auto discards = discards_of(example); !discards.empty())
        return path_to_discard(discards.front());
    std::vector<me_id> path;
    const std::vector<size_t> ends = deciding_steps(example);
    if (ends.empty())
        return path;
    for (const size_t at : branch_to(example.walk, ends.front()))
        path.push_back(example.walk.steps[at].at);
    if (!deciding.empty() && deciding.front() != path.back())
        path.push_back(deciding.front());
    return path;
}

template_value drop_value(const drop_row& drop, uint64_t all_frames, const line_places& places,
                          const entity_numbers& numbers)
{
    constexpr size_t most_branches = 3, most_deciding = 100;
    const auto [shortened, left_out] = without_like_branches(drop.example, most_branches);
    std::ostringstream text;
    print_explanation(shortened, text, {}, places);
    const std::vector<me_id> deciding = deciding_entities(drop.example);
    template_value row;
    row.set("sentence", escape(drop_sentence(drop)));
    row.set("reason", escape(drop.reason));
    row.set("frames", number(drop.frames));
    row.set("all_frames", number(all_frames));
    row.set("first", escape(drop.first));
    row.set("explanation", text.str());
    row.set("branches_left_out", number(left_out));
    row.set("has_branches_left_out", left_out != 0);
    row.set("octets", number(drop.example.input.frame.wire_length));
    row.set("dump", hex_dump(drop.example.input.frame.data));
    row.set("deciding",
            number_list({deciding.begin(), deciding.begin() + static_cast<ptrdiff_t>(std::min(
                                                                  deciding.size(), most_deciding))},
                        numbers));
    row.set("path", number_list(path_to_drop(drop.example, deciding), numbers));
    return row;
}

// The place of the row that explains the drop of the flow; nothing beyond the limit of rows.
std::optional<size_t> drop_of(const report_data& data, const flow_row& flow)
{
    const auto found = std::ranges::find_if(
        data.drops, [&](const drop_row& drop) { return explains(drop, flow); });
    if (found == data.drops.end())
        return {};
    return static_cast<size_t>(found - data.drops.begin());
}

// "GEM IW TP 0x0011 for priorities 0-3".
std::string link_text(const line_model& entities, const me_pointer& pointer,
                      const std::vector<unsigned>& priorities)
{
    const std::string full = to_text(pointer.to);
    std::string text = kind_text(pointer.to.class_id) + full.substr(full.find(" 0x"));
    if (!priorities.empty())
        text += " for priorities " + priority_list(priorities);
    switch (entities.state(pointer)) {
    case pointer_state::missing:
        return text + " (does not exist)";
    case pointer_state::recorded:
        return text;
    default:
        return text + " (not recorded)";
    }
}

std::string links_of(const line_model& entities, const me_instance& me)
{
    std::string text;
    for (const pointer_bundle& one : bundled_pointers(entities, me))
        if (is_drawn(entities, one.pointer))
            text += (text.empty() ? "" : "; ") + link_text(entities, one.pointer, one.priorities);
    return text;
}

template_value entity_value(const line_model& entities, const me_instance& me,
                            const entity_numbers& numbers)
{
    const std::string full = to_text(me.id);
    template_value row;
    row.set("number", number(numbers.at(me.id)));
    row.set("id", full.substr(full.find(" 0x") + 1));
    row.set("attributes", attribute_text(me));
    row.set("known_by", known_by(me));
    row.set("links", links_of(entities, me));
    row.set("automatic", me.automatic);
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
        row.set("name", std::string(hook_kind_name(kind)));
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

template_value drop_values(const report_data& data, const entity_numbers& numbers)
{
    template_value rows = list();
    size_t place = 0;
    for (const drop_row& drop : data.drops) {
        template_value row =
            drop_value(drop, data.directions.at(drop.kind).frames, data.places, numbers);
        row.set("place", number(place++));
        rows << row;
    }
    return rows;
}

template_value flow_values(const report_data& data, const entity_numbers& numbers)
{
    template_value rows = list();
    for (const flow_row& flow : data.flows) {
        template_value row = key_values(flow.key);
        row.set("direction", std::string(hook_kind_name(flow.kind)));
        row.set("entry", flow.entry);
        row.set("type", flow.type);
        row.set("fate", fate_name(flow.fate));
        row.set("outcome", escape(flow.outcome));
        row.set("frames", number(flow.frames));
        row.set("octets", number(flow.octets));
        row.set("quick", number(flow.quick));
        row.set("rewriting", joined(flow.rewriting));
        row.set("is_rewritten", !flow.rewriting.empty());
        row.set("not_applied", joined(flow.not_applied));
        row.set("has_not_applied", !flow.not_applied.empty());
        row.set("first", short_place(flow.first));
        row.set("path", flow.path.size() > 1 ? number_list(flow.path, numbers) : "");
        const std::optional<size_t> drop = drop_of(data, flow);
        row.set("drop", drop ? std::to_string(*drop) : "");
        rows << row;
    }
    return rows;
}

template_value rule_values(const report_data& data, const entity_numbers& numbers)
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
        row.set("hits", rule.hits ? number(*rule.hits) : template_value(""));
        row.set("steps", rule.steps.empty() ? "none: the frame passes" : path_text(rule.steps));
        row.set("path", rule.steps.size() > 1 ? number_list(rule.steps, numbers) : "");
        rows << row;
    }
    return rows;
}

// A number, or the frames of a capture.
template_value line_value(const line_places& places, unsigned line)
{
    return places.frame(line) ? template_value(escape(places.short_text(line))) : number(line);
}

template_value finding_values(const report_data& data)
{
    template_value rows = list();
    const size_t shown = std::min<size_t>(data.findings.size(), most_findings);
    for (const finding& one : std::span(data.findings).first(shown)) {
        template_value row;
        row.set("weight", name_of(one.weight));
        row.set("where", to_text(one.id));
        row.set("line", one.line ? line_value(data.places, one.line) : template_value(""));
        row.set("reason", escape(one.reason));
        row.set("change", escape(one.change));
        rows << row;
    }
    return rows;
}

template_value counter_values(const report_data& data)
{
    template_value rows = list();
    if (!data.live)
        return rows;
    for (const counter_value& one : data.live->counters) {
        if (one.value == 0)
            continue;
        template_value row;
        row.set("name", escape(one.name));
        row.set("meaning", escape(one.meaning));
        row.set("value", number(one.value));
        rows << row;
    }
    return rows;
}

template_value service_values(const report_data& data, const entity_numbers& numbers)
{
    constexpr size_t most_open = 12;
    const std::vector<service> services = services_of(data.entities);
    template_value rows = list();
    for (const service& one : services) {
        template_value row;
        row.set("title", one.title);
        row.set("open", services.size() <= most_open);
        row.set("drawing", draw_service(data.entities, one, numbers));
        rows << row;
    }
    return rows;
}

template_value entity_values(const report_data& data, const entity_numbers& numbers)
{
    template_value classes = list();
    for (const class_record& known : me_classes()) {
        const std::vector<me_instance>& instances = data.entities.instances(known.id);
        if (instances.empty())
            continue;
        template_value rows = list();
        for (const me_instance& me : instances)
            rows << entity_value(data.entities, me, numbers);
        template_value one;
        one.set("name", std::string(known.name));
        one.set("kind", kind_text(known.id));
        one.set("count", number(instances.size()));
        one.set("rows", rows);
        classes << one;
    }
    return classes;
}

} // namespace gponflow
