// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/show_json.h"

#include <nlohmann/json.hpp>

#include "tool/model/class_records.h"
#include "tool/model/instance_json.h"
#include "tool/text/json_document.h"

namespace gponflow {

namespace {

json json_of(const dumped_instance& one)
{
    json result = id_json(one.id);
    json attributes = json::object();
    for (const dumped_attribute& attribute : one.attributes) {
        if (attribute.array)
            attributes[attribute.name] = attribute.values;
        else
            attributes[attribute.name] = attribute.values.front();
    }
    json links = json::object();
    json cut = json::array();
    for (const dumped_link& link : one.links) {
        links[link.name] = link.instances;
        if (link.cut)
            cut.push_back(link.name);
    }
    result["attributes"] = std::move(attributes);
    result["links"] = std::move(links);
    result["cut"] = std::move(cut);
    return result;
}

} // namespace

json rule_json(const dumped_rule& rule)
{
    json steps = json::array();
    for (const me_id& step : rule.steps)
        steps.push_back(id_json(step));
    json result = {{"direction", rule.key.direction},
                   {"source", to_text(rule.key.source)},
                   {"destination", to_text(rule.key.destination)},
                   {"tags", tags_json(rule.key.tags)},
                   {"hash", rule.hash},
                   {"index", rule.index},
                   {"port", rule.port},
                   {"steps", std::move(steps)}};
    if (rule.hits)
        result["hits"] = *rule.hits;
    if (rule.idle_ms)
        result["idle_ms"] = *rule.idle_ms;
    return result;
}

json rules_document(const rule_table& table)
{
    json rules = json::array();
    for (const dumped_rule& rule : table.rules)
        rules.push_back(rule_json(rule));
    json whole = json_document("rules");
    whole["total"] = table.total;
    whole["buckets"] = table.buckets;
    whole["threshold"] = table.threshold;
    whole["rules"] = std::move(rules);
    return whole;
}

json instances_document(const std::vector<dumped_instance>& all)
{
    json instances = json::array();
    for (const dumped_instance& one : all)
        instances.push_back(json_of(one));
    json whole = json_document("instances");
    whole["instances"] = std::move(instances);
    return whole;
}

json status_document(const module_status& status)
{
    json counts = json::object();
    for (const dumped_instance& one : status.instances)
        if (const class_record* fields = find_me_class(one.id.class_id)) {
            json& count = counts[std::string(fields->name)];
            count = count.is_null() ? 1 : count.get<unsigned>() + 1;
        }
    json whole = json_document("status");
    whole["loaded"] = status.loaded;
    whole["enabled"] = status.enabled;
    whole["rules"] = status.rules.total;
    whole["buckets"] = status.rules.buckets;
    whole["threshold"] = status.rules.threshold;
    whole["instances"] = std::move(counts);
    return whole;
}

} // namespace gponflow
