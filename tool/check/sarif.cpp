// SPDX-License-Identifier: GPL-2.0-only
#include "tool/check/sarif.h"

#include <algorithm>
#include <cctype>
#include <ostream>

#include <nlohmann/json.hpp>

#include "tool/text/json_document.h"

namespace gponflow {

namespace {

const char* level_of(finding_weight weight)
{
    switch (weight) {
    case finding_weight::problem:
        return "error";
    case finding_weight::warning:
        return "warning";
    default:
        return "note";
    }
}

// Full texts of SARIF are sentences.
std::string sentence(std::string_view text)
{
    std::string result(text);
    result[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(result[0])));
    return result + ".";
}

json rule_json(const check_rule& rule)
{
    json result = {{"id", rule.name},
                   {"shortDescription", {{"text", sentence(rule.title)}}},
                   {"fullDescription", {{"text", rule.explanation}}},
                   {"defaultConfiguration",
                    {{"enabled", !rule.on_request}, {"level", level_of(rule.weight)}}}};
    if (!rule.clause.empty())
        result["properties"] = {{"clause", "ITU-T G.988 " + std::string(rule.clause)}};
    return result;
}

json rules_json()
{
    json all = json::array();
    for (const check_rule& rule : check_rules())
        all.push_back(rule_json(rule));
    return all;
}

// A URI reference (RFC 3986): all bytes except unreserved ones and '/' are escaped.
std::string uri_of(const std::string& file)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string uri;
    for (const char letter : file) {
        const auto byte = static_cast<unsigned char>(letter);
        if (std::isalnum(byte) || std::string_view("-._~/").find(letter) != std::string_view::npos)
            uri += letter;
        else
            uri += {'%', digits[byte >> 4], digits[byte & 0xf]};
    }
    return uri;
}

json location_json(const finding& one, const line_places& places)
{
    json physical = {{"artifactLocation", {{"uri", uri_of(places.file)}}}};
    // Lines count from 1; an instance that no line created has none.
    if (one.line != 0)
        physical["region"] = {{"startLine", one.line}};
    return {{"physicalLocation", std::move(physical)},
            {"logicalLocations",
             json::array({json{{"fullyQualifiedName", to_text(one.id)}, {"kind", "object"}}})}};
}

json result_json(const finding& one, const line_places& places)
{
    const auto rules = check_rules();
    const auto index = std::ranges::find(rules, one.rule, &check_rule::name) - rules.begin();
    json result = {
        {"ruleId", one.rule},
        {"ruleIndex", index},
        {"level", level_of(one.weight)},
        {"message",
         {{"text", to_text(one.id) + ": " + one.reason + ". Change: " + one.change + "."}}},
        {"locations", json::array({location_json(one, places)})}};
    // The line is that of the converted scenario.
    if (const auto frame = places.frame(one.line))
        result["properties"] = {{"frame", *frame}};
    return result;
}

} // namespace

void print_sarif(const check_result& result, const line_places& places,
                 const std::string& tool_version, std::ostream& out)
{
    json results = json::array();
    for (const finding& one : result.findings)
        results.push_back(result_json(one, places));
    json driver = {{"name", "gponflow"}, {"version", tool_version}, {"rules", rules_json()}};
    json run = {{"tool", {{"driver", std::move(driver)}}}, {"results", std::move(results)}};
    json log;
    log["version"] = "2.1.0";
    log["$schema"] = "https://json.schemastore.org/sarif-2.1.0.json";
    log["runs"] = json::array({std::move(run)});
    print_json(log, out);
}

} // namespace gponflow
