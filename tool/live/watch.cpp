// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/watch.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <utility>

#include <nlohmann/json.hpp>

#include "tool/live/show_json.h"
#include "tool/text/json_document.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

// Counts hits, as the rules of the host platform do not: each frame has an event for learning or
// replay.
class counting_run final : public captured_run {
public:
    using captured_run::captured_run;

    rule_watch watch;

    uint64_t now() { return target_.advance(0); }

private:
    void on_frame(const packet_options& options, const captured_frame& frame) override
    {
        const flow_key key = key_of(options, frame.data);
        for (const gpon_trace_record& event : traced_hook(options, frame.data).events)
            if (event.point == GPON_TRACEPOINT_RULE_LEARN)
                watch.rules[key] = {now(), false, 0, {}};
            else if (event.point == GPON_TRACEPOINT_RULE_HIT)
                watch.rules[key].hits = watch.rules[key].hits.value_or(0) + 1;
    }
};

// A rule that was learnt again meanwhile has fewer hits than before. units: since the update
// before.
void count(watched_rule& one, uint64_t hits, double units)
{
    const uint64_t before = one.hits.value_or(0);
    one.rate = units > 0 && hits >= before ? static_cast<double>(hits - before) / units : 0;
    one.hits = hits;
}

std::string rate_cell(double rate)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", rate);
    return text;
}

} // namespace

// The rules of another module have counted no hits before, also those with the key of a known one.
void rule_watch::begin_anew_if_loaded_again(unsigned load)
{
    if (!began_ || load == reading_.load)
        return;
    ++reloads_;
    rules.clear();
    began_ = false;
}

void rule_watch::update(const rule_table& table, uint64_t now, table_reading reading)
{
    begin_anew_if_loaded_again(reading.load);
    table_ = table;
    reading_ = reading;
    const double units = static_cast<double>(now - updated_) / static_cast<double>(unit_);
    std::map<flow_key, watched_rule> kept;
    for (const dumped_rule& rule : table.rules) {
        const auto known = rules.find(rule.key);
        watched_rule& one = kept[rule.key];
        one = known != rules.end() ? known->second : watched_rule{now, !began_, {}, {}};
        if (rule.hits)
            count(one, *rule.hits, known != rules.end() ? units : 0);
    }
    rules = std::move(kept);
    updated_ = now;
    began_ = true;
}

std::string rule_watch::last_line() const
{
    std::string text = counted(table_.total, "rule");
    if (reading_.changed)
        text = "changed while read, rules may be missing or listed twice; " + text;
    if (reloads_ != 0)
        text = "module loaded again " + counted(reloads_, "time") + "; " + text;
    return text;
}

std::vector<std::string> rule_watch::lines(uint64_t now, const std::string& unit) const
{
    std::vector<const dumped_rule*> order;
    for (const dumped_rule& rule : table_.rules)
        order.push_back(&rule);
    std::ranges::stable_sort(order, [&](const dumped_rule* left, const dumped_rule* right) {
        const watched_rule& a = rules.at(left->key);
        const watched_rule& b = rules.at(right->key);
        return std::pair(a.hits, a.since) > std::pair(b.hits, b.since);
    });
    const bool rated =
        std::ranges::any_of(rules, [](const auto& one) { return one.second.rate.has_value(); });
    text_table table{{"AGE (" + unit + ")", "HITS"}, {}};
    if (rated)
        table.titles.push_back("HITS/" + unit);
    for (const char* title : {"DIRECTION", "SOURCE", "DESTINATION", "VLAN", "PATH"})
        table.titles.emplace_back(title);
    for (const dumped_rule* rule : order) {
        const watched_rule& known = rules.at(rule->key);
        std::vector<std::string>& row = table.rows.emplace_back();
        row = {(known.from_before ? ">" : "") + std::to_string(age(known, now)),
               known.hits ? std::to_string(*known.hits) : "-"};
        if (rated)
            row.push_back(rate_cell(known.rate.value_or(0)));
        row.insert(row.end(),
                   {rule->key.direction, to_text(rule->key.source), to_text(rule->key.destination),
                    to_text(rule->key.tags), path_text(rule->steps)});
    }
    std::vector<std::string> result = table.lines();
    result.push_back(last_line());
    return result;
}

std::string rule_watch::json_line(uint64_t now, const std::string& unit) const
{
    json all = json::array();
    for (const dumped_rule& rule : table_.rules) {
        const watched_rule& known = rules.at(rule.key);
        json entry = rule_json(rule);
        entry["age"] = age(known, now);
        entry["older"] = known.from_before;
        if (known.hits)
            entry["hits"] = *known.hits;
        if (known.rate)
            entry["hits_per_second"] = *known.rate;
        all.push_back(std::move(entry));
    }
    json whole = json_document("watch");
    whole["unit"] = unit;
    whole["total"] = table_.total;
    if (reloads_ != 0)
        whole["reloads"] = reloads_;
    note_change(whole, reading_.changed);
    whole["rules"] = std::move(all);
    std::ostringstream text;
    print_json_line(whole, text);
    return text.str().substr(0, text.str().size() - 1);
}

watched_scenario watch_scenario(const scenario& input, backend& target, std::ostream& diagnostics,
                                bool as_json)
{
    counting_run run(target);
    const exit_status status = run.run(input, diagnostics);
    if (status != status_ok)
        return {status, {}};
    const auto output = run.query("show flow_rule");
    const std::optional<rule_table> table = output ? read_rule_table(*output) : std::nullopt;
    run.watch.update(table.value_or(rule_table{}), run.now());
    if (as_json)
        return {status, {run.watch.json_line(run.now(), "jiffies")}};
    return {status, run.watch.lines(run.now(), "jiffies")};
}

} // namespace gponflow
