// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/filter_words.h"

#include <algorithm>
#include <set>
#include <span>

namespace gponflow {

namespace {

// The list drops instead of passing.
bool list_drops(unsigned operation)
{
    constexpr unsigned dropping[] = {0x05, 0x06, 0x09, 0x0a, 0x0d, 0x0e};
    return std::ranges::find(dropping, operation) != std::end(dropping);
}

std::span<const uint16_t> list_of(const gpon_raw_vtfd& filter)
{
    const size_t count = std::min<size_t>(filter.vlanFilterNums, std::size(filter.vlanFilterList));
    return {filter.vlanFilterList, count};
}

std::string entry_words(filter_compares compared, uint16_t entry)
{
    const std::string vlan = "VLAN " + std::to_string(entry & 0xfff);
    const std::string priority = "priority " + std::to_string(entry >> 13);
    if (compared == filter_compares::vlan)
        return vlan;
    return compared == filter_compares::priority ? priority : vlan + " " + priority;
}

} // namespace

filter_compares compared_by(unsigned operation)
{
    switch (operation) {
    case 0x03:
    case 0x04:
    case 0x05:
    case 0x06:
    case 0x0f:
    case 0x10:
    case 0x1c:
    case 0x1d:
        return filter_compares::vlan;
    case 0x07:
    case 0x08:
    case 0x09:
    case 0x0a:
    case 0x11:
    case 0x12:
    case 0x1e:
    case 0x1f:
        return filter_compares::priority;
    case 0x0b:
    case 0x0c:
    case 0x0d:
    case 0x0e:
    case 0x13:
    case 0x14:
    case 0x20:
    case 0x21:
        return filter_compares::whole_tag;
    default:
        return filter_compares::nothing;
    }
}

std::string refusal_words(const gpon_raw_vtfd& filter, std::optional<uint16_t> tci)
{
    if (!tci)
        return "drops untagged frames";
    const filter_compares compared = compared_by(filter.forwardOperation);
    if (compared == filter_compares::nothing)
        return "drops tagged frames";
    if (list_drops(filter.forwardOperation))
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
                               [&](uint16_t entry) { return (entry & 0xfffu) == vlan; });
}

} // namespace gponflow
