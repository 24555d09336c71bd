// SPDX-License-Identifier: GPL-2.0-only
#include "tool/check/check_output.h"

#include <algorithm>
#include <ostream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "tool/model/class_records.h"
#include "tool/text/diagnostic.h"
#include "tool/text/json_document.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr size_t text_columns = 80;

size_t count_of(const check_result& result, finding_weight weight)
{
    return static_cast<size_t>(std::ranges::count(result.findings, weight, &finding::weight));
}

std::string coloured(finding_weight weight, const palette& colours)
{
    const std::string name = name_of(weight);
    if (weight == finding_weight::problem)
        return colours.bad(name);
    return weight == finding_weight::note ? colours.faint(name) : name;
}

std::string clause_text(const check_rule& rule)
{
    return rule.clause.empty() ? "-" : "G.988 " + std::string(rule.clause);
}

// The words of the text in lines of at most 80 columns.
std::string wrapped(std::string_view text, const std::string& indent)
{
    std::istringstream words{std::string(text)};
    std::string result;
    std::string line = indent;
    for (std::string word; words >> word;) {
        if (line.size() > indent.size() && line.size() + 1 + word.size() > text_columns) {
            result += line + "\n";
            line = indent;
        }
        line += (line.size() > indent.size() ? " " : "") + word;
    }
    return result + line + "\n";
}

json json_of(const finding& one, const line_places& places)
{
    const class_record* fields = find_me_class(one.id.class_id);
    json entry = {{"weight", name_of(one.weight)},
                  {"kind", one.rule},
                  {"clause", find_rule(one.rule)->clause},
                  {"class", fields ? fields->name : ""},
                  {"class_id", gpon::class_number(one.id.class_id)},
                  {"instance", one.id.instance},
                  {"line", one.line}};
    if (const auto frame = places.frame(one.line))
        entry["frame"] = *frame;
    entry["reason"] = one.reason;
    entry["change"] = one.change;
    return entry;
}

// The frames of a capture, on a line of their own: the first one has the form of a compiler's.
std::string frames_text(const finding& one, const line_places& places)
{
    return places.frame(one.line) ? "\n    set in " + places.short_text(one.line) : "";
}

} // namespace

void print_findings(const check_result& result, const line_places& places, std::ostream& out,
                    const palette& colours)
{
    for (const finding& one : result.findings)
        out << diagnostic{places.file, one.line, 0,
                          coloured(one.weight, colours) + ": " + colours.heading(to_text(one.id)) +
                              ": " + one.reason + " [" + one.rule + "]\n    change: " + one.change +
                              frames_text(one, places)}
                   .text()
            << '\n';
    const size_t problems = count_of(result, finding_weight::problem);
    const std::string problems_text = counted(problems, "problem");
    out << (problems ? colours.bad(problems_text) : colours.good(problems_text)) << ", "
        << counted(count_of(result, finding_weight::warning), "warning") << ", "
        << counted(count_of(result, finding_weight::note), "note");
    if (result.silenced)
        out << "; " << result.silenced << " silenced";
    if (result.on_request)
        out << "; " << result.on_request << " more with --all";
    out << '\n';
}

json findings_json(const check_result& result, const line_places& places)
{
    json findings = json::array();
    for (const finding& one : result.findings)
        findings.push_back(json_of(one, places));
    json whole = json_document("check");
    whole["scenario"] = places.file;
    whole["problems"] = count_of(result, finding_weight::problem);
    whole["warnings"] = count_of(result, finding_weight::warning);
    whole["notes"] = count_of(result, finding_weight::note);
    whole["silenced"] = result.silenced;
    whole["on_request"] = result.on_request;
    whole["findings"] = std::move(findings);
    return whole;
}

void print_rules(std::ostream& out, const palette& colours)
{
    text_table table{{"rule", "weight", "finding"}, {}};
    for (const check_rule& rule : check_rules())
        table.rows.push_back(
            {std::string(rule.name), name_of(rule.weight), std::string(rule.title)});
    table.print(out, colours);
}

void print_rule(const check_rule& rule, std::ostream& out, const palette& colours)
{
    out << colours.heading(rule.name) << ": " << rule.title << '\n'
        << "  weight: " << name_of(rule.weight) << (rule.on_request ? ", with --all only" : "")
        << '\n'
        << "  clause: " << clause_text(rule) << "\n\n"
        << wrapped(rule.explanation, "  ");
}

} // namespace gponflow
