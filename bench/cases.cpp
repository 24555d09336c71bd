// SPDX-License-Identifier: GPL-2.0-only
#include "bench/cases.h"

#include <algorithm>
#include <stdexcept>

namespace gpon::bench {

#ifndef GPON_BENCH_DPDK
void add_rte_hash_cases(case_list&) {}
#endif

case_list all_cases()
{
    case_list cases;
    add_header_cases(cases);
    add_rule_cases(cases);
    add_chained_cases(cases);
    add_lfht_cases(cases);
    add_rte_hash_cases(cases);
    add_outcome_cases(cases);
    add_flood_cases(cases);
    add_class_cases(cases);
    add_hook_cases(cases);
    add_link_query_cases(cases);
    add_command_cases(cases);
    add_tool_cases(cases);
    return cases;
}

const bench_case& find_case(const case_list& cases, const std::string& name)
{
    const auto found = std::ranges::find(cases, name, &bench_case::name);
    if (found == cases.end())
        throw std::runtime_error("no benchmark has the name " + name);
    return *found;
}

} // namespace gpon::bench
