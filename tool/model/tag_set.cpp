// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/tag_set.h"

#include <algorithm>
#include <vector>

#include "include/mapper_values.h"
#include "include/tp_types.h"
#include "me_class/vtfd_vlan_tagging_filter_data.h"
#include "tool/tagging/frame_priority.h"

namespace gponflow {

namespace {

bool compares_list(const gpon::forward_operation& row)
{
    return row.action == vtfd_action_h || row.action == vtfd_action_g;
}

bool passes(const gpon_raw_vtfd& filter, uint16_t tci)
{
    const auto* row = gpon::find_forward_operation(filter.forwardOperation, tci != untagged_tci);
    if (!row)
        return false;
    if (compares_list(*row))
        return gpon::is_listed(tci, &filter, row->mask) == (row->action == vtfd_action_h);
    return row->action != vtfd_action_drop;
}

bool leads_upstream(const line_model& entities, const gpon_raw_mapper& mapper, uint8_t priority)
{
    const uint16_t gem_iw = selected_gem_iw(mapper, priority);
    return gem_iw != 0 && leads_upstream(entities, gem_iw);
}

// A bit for each priority that leads upstream.
unsigned leading_priorities(const line_model& entities, const gpon_raw_mapper& mapper)
{
    unsigned which = 0;
    for (uint8_t i = 0; i < gpon::PRIORITIES; ++i)
        which |= leads_upstream(entities, mapper, i) ? 1u << i : 0;
    return which;
}

bool forwards_untagged(const line_model& entities, const gpon_raw_mapper& mapper)
{
    if (mapper.unmark_frame_opt == gpon::FROM_DEFAULT_PBIT)
        return leads_upstream(entities, mapper, mapper.defaultPbit);
    // By DSCP: any of the priorities.
    return mapper.unmark_frame_opt == gpon::FROM_DSCP && leading_priorities(entities, mapper) != 0;
}

bool forwards(const line_model& entities, const gpon_raw_mapper& mapper, uint16_t tci)
{
    return tci == untagged_tci ? forwards_untagged(entities, mapper)
                               : leads_upstream(entities, mapper, gpon::priority_of(tci));
}

bool forwards(const line_model& entities, const gpon_raw_mbpcd& port, uint16_t tci)
{
    switch (gpon::bridge_port_tp(port.tpType).class_id) {
    case me_class::mapper: {
        const me_instance* mapper = entities.find({me_class::mapper, port.tpPointer});
        return mapper && forwards(entities, mapper->as<gpon_raw_mapper>(), tci);
    }
    case me_class::gemiw:
        return leads_upstream(entities, port.tpPointer);
    default:
        return false;
    }
}

// Every TCI that equals the entry in the compared bits.
void add_entry(tag_set& tags, uint16_t entry, uint16_t mask)
{
    const unsigned free_bits = static_cast<uint16_t>(~mask);
    // All subsets of the free bits, the full set first.
    for (unsigned rest = free_bits;; rest = (rest - 1) & free_bits) {
        tags.set((entry & mask) | rest);
        if (rest == 0)
            return;
    }
}

tag_set listed_tags(const gpon_raw_vtfd& filter, uint16_t mask)
{
    tag_set tags;
    for (unsigned i = 0; i < filter.vlanFilterNums; ++i)
        add_entry(tags, gpon::list_entry(&filter, i), mask);
    return tags;
}

tag_set tagged_part(const gpon::forward_operation& row, const gpon_raw_vtfd& filter)
{
    if (row.action == vtfd_action_h)
        return listed_tags(filter, row.mask);
    if (row.action == vtfd_action_g)
        return ~listed_tags(filter, row.mask);
    return row.action == vtfd_action_drop ? tag_set() : ~tag_set();
}

tag_set forwarded_by(const line_model& entities, const gpon_raw_mapper& mapper)
{
    const unsigned leads = leading_priorities(entities, mapper);
    tag_set tags;
    for (unsigned tci = 1; tci < tags.size(); ++tci)
        tags[tci] = leads >> gpon::priority_of(static_cast<uint16_t>(tci)) & 1;
    tags[untagged_tci] = forwards_untagged(entities, mapper);
    return tags;
}

tag_set forwarded_behind(const line_model& entities, const gpon_raw_mbpcd& port)
{
    switch (gpon::bridge_port_tp(port.tpType).class_id) {
    case me_class::mapper: {
        const me_instance* mapper = entities.find({me_class::mapper, port.tpPointer});
        return mapper ? forwarded_by(entities, mapper->as<gpon_raw_mapper>()) : tag_set();
    }
    case me_class::gemiw:
        return leads_upstream(entities, port.tpPointer) ? ~tag_set() : tag_set();
    default:
        return {};
    }
}

struct vlan_range {
    unsigned first;
    unsigned last;
    unsigned priorities;
};

std::vector<vlan_range> ranges_of(const tag_set& tags)
{
    std::vector<vlan_range> ranges;
    for (unsigned vlan = 0; vlan < gpon::VLAN_IDS; ++vlan) {
        const unsigned which = priorities_of(tags, vlan);
        if (which == 0)
            continue;
        if (!ranges.empty() && ranges.back().last + 1 == vlan && ranges.back().priorities == which)
            ranges.back().last = vlan;
        else
            ranges.push_back({vlan, vlan, which});
    }
    return ranges;
}

std::string text_of(const vlan_range& range)
{
    std::string text = std::to_string(range.first);
    if (range.last != range.first)
        text += " to " + std::to_string(range.last);
    // Priority 0 of VLAN 0 is an untagged frame.
    const unsigned all = range.first == 0 ? every_priority - 1 : every_priority;
    if (range.priorities != all)
        text += " (priority " + priorities_text(range.priorities) + ")";
    return text;
}

} // namespace

std::string priorities_text(unsigned which)
{
    std::string text;
    for (unsigned i = 0; i < gpon::PRIORITIES; ++i) {
        if (!(which >> i & 1))
            continue;
        unsigned last = i;
        while (last + 1 < gpon::PRIORITIES && (which >> (last + 1) & 1))
            ++last;
        text += (text.empty() ? "" : ", ") + std::to_string(i);
        if (last > i)
            text += " to " + std::to_string(last);
        i = last;
    }
    return text;
}

unsigned priorities_of(const tag_set& tags, unsigned vlan)
{
    unsigned which = 0;
    for (unsigned i = 0; i < gpon::PRIORITIES; ++i)
        if (tags[gpon::to_tci(i, false, vlan)] && (i | vlan) != 0)
            which |= 1u << i;
    return which;
}

tag_set passed_by(const gpon_raw_vtfd& filter)
{
    const auto* tagged = gpon::find_forward_operation(filter.forwardOperation, true);
    if (!tagged)
        return {};
    tag_set tags = tagged_part(*tagged, filter);
    tags[untagged_tci] = passes(filter, untagged_tci);
    return tags;
}

std::span<const uint16_t> listed_tcis(const gpon_raw_vtfd& filter)
{
    const std::span list(filter.vlanFilterList);
    return list.first(std::min<size_t>(filter.vlanFilterNums, list.size()));
}

bool is_forward_operation(uint8_t code)
{
    return gpon::find_forward_operation(code, true) != nullptr;
}

uint16_t compared_bits(uint8_t forward_operation)
{
    const auto* row = gpon::find_forward_operation(forward_operation, true);
    return row && compares_list(*row) ? row->mask : 0;
}

bool leads_upstream(const line_model& entities, uint16_t gem_iw)
{
    const me_instance* point = entities.find({me_class::gemiw, gem_iw});
    if (!point)
        return false;
    const me_instance* ctp =
        entities.find({me_class::gemctp, point->as<gpon_raw_gemiw>().gemCTPInstID});
    return ctp && ctp->as<gpon_raw_gemctp>().direction != gem_downstream;
}

tag_set accepted_upstream(const line_model& entities, const me_instance& port)
{
    const tag_set forwarded = forwarded_behind(entities, port.as<gpon_raw_mbpcd>());
    const me_instance* filter = entities.find({me_class::vtfd, port.id.instance});
    if (!filter || !port.records(filter->id))
        return forwarded;
    return forwarded & passed_by(filter->as<gpon_raw_vtfd>());
}

bool accepts_upstream(const line_model& entities, const me_instance& port, uint16_t tci)
{
    const me_instance* filter = entities.find({me_class::vtfd, port.id.instance});
    if (filter && port.records(filter->id) && !passes(filter->as<gpon_raw_vtfd>(), tci))
        return false;
    return forwards(entities, port.as<gpon_raw_mbpcd>(), tci);
}

bool has_all_vlans(const tag_set& tags)
{
    for (unsigned vlan = 1; vlan + 1 < gpon::VLAN_IDS; ++vlan)
        if (priorities_of(tags, vlan) != every_priority)
            return false;
    return true;
}

std::string to_text(const tag_set& tags, size_t most)
{
    const std::vector<vlan_range> ranges = ranges_of(tags);
    std::string text = tags[untagged_tci] ? "untagged" : "";
    if (ranges.empty())
        return text.empty() ? "nothing" : text;
    const bool one = ranges.size() == 1 && ranges[0].first == ranges[0].last;
    text += std::string(text.empty() ? "" : ", ") + (one ? "VLAN " : "VLANs ");
    for (size_t i = 0; i < std::min(most, ranges.size()); ++i)
        text += (i ? ", " : "") + text_of(ranges[i]);
    if (ranges.size() > most)
        text += " and " + std::to_string(ranges.size() - most) + " more";
    return text;
}

} // namespace gponflow
