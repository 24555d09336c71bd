// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/counter_text.h"

#include <cstdio>
#include <ostream>

#include <nlohmann/json.hpp>

#include "tool/scenario/backend.h"
#include "tool/text/json_document.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

// In a 32-bit kernel a count wraps at 2^32: the sum is smaller than before.
std::string increase_text(uint64_t now, uint64_t before, double seconds)
{
    if (now <= before || seconds <= 0)
        return "0.0";
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", static_cast<double>(now - before) / seconds);
    return text;
}

bool is_loaded_again(const counter_snapshot& now, const counter_rates& rates)
{
    return rates.before && rates.before->load != now.load;
}

std::string rate_cell_of(const counter_snapshot& now, const counter_rates& rates, size_t at)
{
    if (is_loaded_again(now, rates) || at >= rates.before->counters.size())
        return "-";
    return increase_text(now.counters[at].value, rates.before->counters[at].value, rates.seconds);
}

void print_metric(std::ostream& out, const std::string& name, const std::string& type,
                  const std::string& meaning, uint64_t value)
{
    out << "# TYPE " << name << ' ' << type << "\n# HELP " << name << ' ' << meaning << ".\n"
        << name << (type == "counter" ? "_total " : " ") << value << '\n';
}

} // namespace

counter_snapshot read_snapshot(module_reader& reader, const counter_snapshot* before)
{
    counter_snapshot result = reader.of_one_module([&reader] {
        counter_snapshot read;
        read.state = reader.state();
        read.counters = reader.counters();
        read.load = reader.load_number();
        return read;
    });
    result.mixed = reader.take_change();
    if (before)
        result.reloads = before->reloads + (result.load != before->load);
    return result;
}

void print_counters(const counter_snapshot& now, const counter_rates& rates, bool all,
                    std::ostream& out)
{
    text_table table{{"COUNTER", "VALUE"}, {}};
    if (rates.before)
        table.titles.emplace_back("PER SECOND");
    table.titles.emplace_back("MEANING");
    for (size_t i = 0; i < now.counters.size(); ++i) {
        const counter_value& one = now.counters[i];
        if (one.value == 0 && !all)
            continue;
        std::vector<std::string>& row = table.rows.emplace_back();
        row = {one.name, std::to_string(one.value)};
        if (rates.before)
            row.push_back(rate_cell_of(now, rates, i));
        row.push_back(one.meaning);
    }
    table.print(out, {});
    if (is_loaded_again(now, rates))
        out << "the module was loaded again: its counters started at 0\n";
    out << counted(now.state.rules, "rule") << " in " << now.state.buckets << " buckets, engine "
        << (now.state.enabled ? "enabled" : "disabled") << '\n';
}

void print_counters_json(const counter_snapshot& now, bool one_line, std::ostream& out)
{
    json counters = json::object();
    for (const counter_value& one : now.counters)
        counters[one.name] = one.value;
    json whole = json_document("counters");
    whole["enabled"] = now.state.enabled;
    whole["rules"] = now.state.rules;
    whole["buckets"] = now.state.buckets;
    whole["threshold"] = now.state.threshold;
    if (now.reloads != 0)
        whole["reloads"] = now.reloads;
    note_change(whole, now.mixed);
    whole["counters"] = std::move(counters);
    if (one_line)
        print_json_line(whole, out);
    else
        print_json(whole, out);
}

void print_open_metrics(const counter_snapshot& now, std::ostream& out)
{
    if (now.mixed)
        throw refusal("the module was loaded again during each reading of its counters");
    for (const counter_value& one : now.counters)
        print_metric(out, "gpon_flow_" + one.name, "counter", one.meaning, one.value);
    print_metric(out, "gpon_flow_engine_enabled", "gauge", "1 if the engine classifies frames",
                 now.state.enabled);
    print_metric(out, "gpon_flow_rules", "gauge", "Rules in the table", now.state.rules);
    print_metric(out, "gpon_flow_rule_buckets", "gauge", "Buckets of the rule table",
                 now.state.buckets);
    out << "# EOF\n";
}

} // namespace gponflow
