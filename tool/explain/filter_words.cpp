// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/filter_words.h"

#include <algorithm>
#include <set>
#include <vector>

#include "include/tci.h"
#include "me_class/vtfd_vlan_tagging_filter_data.h"

namespace gponflow {

namespace {

// As the module reads them: entries beyond the list are the words behind it.
std::vector<uint16_t> list_of(const gpon_raw_vtfd& filter)
{
    std::vector<uint16_t> entries;
    for (uint32_t i = 0; i < filter.vlanFilterNums; ++i)
        entries.push_back(gpon::list_entry(&filter, i));
    return entries;
}

std::string entry_words(filter_compares compared, uint16_t entry)
{
    const std::string vlan = "VLAN " + std::to_string(gpon::vlan_of(entry));
    const std::string priority = "priority " + std::to_string(gpon::priority_of(entry));
    if (compared == filter_compares::vlan)
        return vlan;
    return compared == filter_compares::priority ? priority : vlan + " " + priority;
}

} // namespace

filter_compares compared_by(uint8_t operation)
{
    const gpon::forward_operation* row = gpon::find_forward_operation(operation, true);
    if (!row || (row->action != vtfd_action_h && row->action != vtfd_action_g))
        return filter_compares::nothing;
    if (row->mask == gpon::TCI_VLAN)
        return filter_compares::vlan;
    return row->mask == gpon::TCI_PRIORITY ? filter_compares::priority : filter_compares::whole_tag;
}

std::string refusal_words(const gpon_raw_vtfd& filter, std::optional<uint16_t> tci)
{
    const auto* row = gpon::find_forward_operation(filter.forwardOperation, tci.has_value());
    if (!row)
        return "has no defined operation and drops every frame";
    if (!tci)
        return "drops untagged frames";
    const filter_compares compared = compared_by(filter.forwardOperation);
    if (compared == filter_compares::nothing)
        return "drops tagged frames";
    if (row->action == vtfd_action_g)
        return "drops " + entry_words(compared, *tci);
    std::string list;
    std::set<std::string> named;
    for (const uint16_t entry : list_of(filter))
        if (const std::string words = entry_words(compared, entry); named.insert(words).second)
            list += (list.empty() ? "" : ", ") + words;
    return list.empty() ? "has an empty list and passes no tagged frame" : "passes only " + list;
}

bool lists_vlan(const gpon_raw_vtfd& filter, unsigned vlan)
{
    return std::ranges::any_of(list_of(filter),
                               [&](uint16_t entry) { return gpon::vlan_of(entry) == vlan; });
}

} // namespace gponflow
