// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/check_output.h"

#include <algorithm>
#include <ostream>

#include <nlohmann/json.hpp>

#include "tool/model/class_records.h"
#include "tool/text/diagnostic.h"
#include "tool/text/json_document.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

const char* name_of(finding_weight weight)
{
    return weight == finding_weight::problem ? "problem" : "note";
}

size_t count_of(const std::vector<finding>& all, finding_weight weight)
{
    return static_cast<size_t>(std::ranges::count(all, weight, &finding::weight));
}

} // namespace

void print_findings(const std::vector<finding>& all, const std::string& file, std::ostream& out,
                    const palette& colours)
{
    for (const finding& one : all) {
        const std::string weight = name_of(one.weight);
        const bool problem = one.weight == finding_weight::problem;
        out << diagnostic{file, one.line, 0,
                          (problem ? colours.bad(weight) : colours.faint(weight)) + ": " +
                              colours.heading(to_text(one.where)) + ": " + one.reason +
                              "\n    change: " + one.change}
                   .text()
            << '\n';
    }
    const size_t problems = count_of(all, finding_weight::problem);
    const std::string problems_text = counted(problems, "problem");
    out << (problems ? colours.bad(problems_text) : colours.good(problems_text)) << ", "
        << counted(count_of(all, finding_weight::note), "note") << '\n';
}

void print_findings_json(const std::vector<finding>& all, const std::string& file,
                         std::ostream& out)
{
    json findings = json::array();
    for (const finding& one : all) {
        const class_record* fields = find_me_class(one.where.class_id);
        findings.push_back({{"weight", name_of(one.weight)},
                            {"kind", one.kind},
                            {"class", fields ? fields->name : ""},
                            {"class_id", one.where.class_id},
                            {"instance", one.where.instance},
                            {"line", one.line},
                            {"reason", one.reason},
                            {"change", one.change}});
    }
    json whole = json_document("check");
    whole["scenario"] = file;
    whole["problems"] = count_of(all, finding_weight::problem);
    whole["notes"] = count_of(all, finding_weight::note);
    whole["findings"] = std::move(findings);
    print_json(whole, out);
}

} // namespace gponflow
