// SPDX-License-Identifier: GPL-2.0-only
#include "tool/check/check.h"

#include <algorithm>

#include "tool/check/families.h"

namespace gponflow {

namespace {

using rule_family = void (*)(const line_model& entities, finding_list& found);

constexpr rule_family families[] = {
    check_pointers, check_filters,  check_mappers, check_gem_ports,
    check_queues,   check_services, check_values,  check_tagging,
};

bool covers(const silence& one, const finding& reported)
{
    return one.rule == reported.rule &&
           one.class_id.value_or(reported.id.class_id) == reported.id.class_id &&
           one.instance.value_or(reported.id.instance) == reported.id.instance;
}

bool is_silenced(const std::vector<silence>& silenced, const finding& reported)
{
    return std::ranges::any_of(silenced, [&](const silence& one) { return covers(one, reported); });
}

} // namespace

check_result check_provisioning(const line_model& entities, const check_options& options)
{
    finding_list found;
    for (const rule_family family : families)
        family(entities, found);
    check_result result;
    result.findings = found.take();
    result.silenced = std::erase_if(
        result.findings, [&](const finding& one) { return is_silenced(options.silenced, one); });
    if (!options.on_request)
        result.on_request = std::erase_if(
            result.findings, [](const finding& one) { return find_rule(one.rule)->on_request; });
    std::ranges::stable_sort(result.findings, [](const finding& left, const finding& right) {
        return std::pair(left.weight, left.line) < std::pair(right.weight, right.line);
    });
    return result;
}

} // namespace gponflow
