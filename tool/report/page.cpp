// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/page.h"

#include <algorithm>
#include <stdexcept>

#include "tool/report/page_parts.h"
#include "tool/report/tables.h"
#include "tool/text/escape.h"

namespace gponflow {

namespace {

template_value escaped(const std::vector<std::string>& texts)
{
    template_value list(template_value::type::list);
    for (const std::string& one : texts)
        list << template_value(escape(one));
    return list;
}

std::vector<std::string> notes_of_directions(const report_data& data)
{
    std::vector<std::string> notes;
    for (const direction_row& one : data.directions)
        notes.insert(notes.end(), one.notes.begin(), one.notes.end());
    return notes;
}

// A frame that goes through both hook calls of its direction counts once, with its last outcome.
direction_row sum_of_directions(const report_data& data)
{
    direction_row all;
    for (const direction_row& one : data.directions) {
        all.frames += one.frames - one.continued;
        all.passed += one.passed - one.continued;
        all.dropped += one.dropped;
        all.untouched += one.untouched;
        all.quick += one.quick - one.continued_quick;
    }
    return all;
}

// Since load: the flows of a running module are only those that have a rule now.
direction_row sum_of_counters(const live_state& live)
{
    direction_row all;
    for (const counter_value& one : live.counters) {
        if (one.name == "frames_passed")
            all.passed = one.value;
        else if (one.name == "frames_failed")
            all.dropped = one.value;
        else if (one.name == "frames_engine_off")
            all.untouched = one.value;
        else if (one.name == "replays" || one.name.starts_with("remembered_"))
            all.quick += one.value;
    }
    all.frames = all.passed + all.dropped;
    return all;
}

void set_live(template_value& page, const report_data& data)
{
    page.set("live", data.live.has_value());
    page.set("counters", counter_values(data));
    page.set("is_off", data.live && !data.live->enabled);
    page.set("has_changed", data.live && data.live->changed);
}

void set_totals(template_value& page, const report_data& data)
{
    const direction_row all = data.live ? sum_of_counters(*data.live) : sum_of_directions(data);
    const auto problems =
        std::ranges::count(data.findings, finding_weight::problem, &finding::weight);
    page.set("frames", std::to_string(all.frames));
    page.set("passed", std::to_string(all.passed));
    page.set("dropped", std::to_string(all.dropped));
    page.set("has_dropped", all.dropped != 0);
    page.set("has_untouched", all.untouched != 0);
    page.set("quick", std::to_string(all.quick));
    page.set("flow_count", std::to_string(data.flows.size()));
    page.set("flows_left_out", std::to_string(data.flows_left_out));
    page.set("has_flows_left_out", data.flows_left_out != 0);
    page.set("drops_left_out", std::to_string(data.drops_left_out));
    page.set("has_drops_left_out", data.drops_left_out != 0);
    page.set("problems", std::to_string(problems));
    page.set("has_problems", problems != 0);
    page.set("has_findings", !data.findings.empty());
    page.set("has_findings_left_out", data.findings.size() > most_findings);
    page.set("findings_left_out",
             std::to_string(data.findings.size() - std::min(data.findings.size(), most_findings)));
}

void set_rules(template_value& page, const report_data& data, const entity_numbers& numbers)
{
    page.set("has_rules", data.rules && !data.rules->rules.empty());
    page.set("rule_count", std::to_string(data.rules ? data.rules->rules.size() : 0));
    page.set("buckets", std::to_string(data.rules ? data.rules->buckets : 0));
    page.set("rules", rule_values(data, numbers));
}

} // namespace

std::string report_page(const report_data& data)
{
    const entity_numbers numbers = number_entities(data.entities);
    template_value page;
    page.set("style", page_style);
    page.set("script", page_script);
    page.set("scenario", data.scenario.empty() ? "the running module" : escape(data.scenario));
    set_live(page, data);
    page.set("captures", escaped(data.captures));
    page.set("notes", escaped(notes_of(data)));
    page.set("has_notes", !data.entry.empty() || !data.notes.empty());
    page.set("has_captures", !data.captures.empty());
    page.set("services", service_values(data, numbers));
    page.set("classes", entity_values(data, numbers));
    page.set("has_entities", !numbers.empty());
    page.set("entity_count", std::to_string(numbers.size()));
    set_totals(page, data);
    set_rules(page, data, numbers);
    page.set("directions", direction_values(data));
    page.set("direction_notes", escaped(notes_of_directions(data)));
    page.set("drops", drop_values(data, numbers));
    page.set("flows", flow_values(data, numbers));
    page.set("findings", finding_values(data));
    kainjow::mustache::mustache whole(page_template);
    if (!whole.is_valid())
        throw std::logic_error("the page's template: " + whole.error_message());
    return whole.render(page);
}

} // namespace gponflow
