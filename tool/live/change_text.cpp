// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/change_text.h"

#include <sstream>

#include <nlohmann/json.hpp>

#include "tool/live/show_json.h"
#include "tool/model/instance_json.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr size_t word_width = 9;

std::string padded(std::string word)
{
    word.resize(std::max(word.size() + 1, word_width), ' ');
    return word;
}

std::string one_line(const json& document)
{
    std::ostringstream text;
    print_json_line(document, text);
    return text.str().substr(0, text.str().size() - 1);
}

const char* name_of(module_change::subject subject)
{
    switch (subject) {
    case module_change::subject::rule:
        return "rule";
    case module_change::subject::instance:
        return "instance";
    case module_change::subject::table:
        break;
    }
    return "table";
}

std::string text_of(const seen_rule& seen)
{
    const flow_key& key = seen.rule.key;
    return key.direction + " " + to_text(key.source) + " > " + to_text(key.destination) + " " +
           to_text(key.tags) + ": " + path_text(seen.rule.steps);
}

} // namespace

std::string text_of(const module_change& change)
{
    const std::string word = padded(change.change);
    switch (change.about) {
    case module_change::subject::rule:
        return word + text_of(change.rule) +
               (change.change == "learnt" ? "" : ", " + counted(change.rule.hits, "hit"));
    case module_change::subject::instance:
        return word + to_text(change.instance);
    case module_change::subject::table:
        break;
    }
    return word + "the rule table has " + std::to_string(change.buckets) + " buckets";
}

std::string json_of(const module_change& change)
{
    json whole = json_document("change");
    whole["number"] = change.number;
    whole["subject"] = name_of(change.about);
    whole["change"] = change.change;
    if (change.about == module_change::subject::rule) {
        whole["rule"] = rule_json(change.rule.rule);
        whole["hits"] = change.rule.hits;
    } else if (change.about == module_change::subject::instance) {
        whole["instance"] = id_json(change.instance);
    } else {
        whole["buckets"] = change.buckets;
    }
    return one_line(whole);
}

std::string missing_text(uint32_t count)
{
    return padded("missing") + counted(count, "change") + ": not received";
}

std::string missing_json(uint32_t count)
{
    json whole = json_document("change");
    whole["subject"] = "missing";
    whole["count"] = count;
    return one_line(whole);
}

} // namespace gponflow
