// SPDX-License-Identifier: GPL-2.0-only
// Tagging operations: where they belong, rows without effect, VLANs that no row produces.
#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <functional>
#include <map>
#include <optional>

#include "include/mapper_values.h"
#include "include/tci.h"
#include "include/tp_types.h"
#include "tool/check/families.h"
#include "tool/model/carry.h"
#include "tool/model/tag_places.h"
#include "tool/model/tag_set.h"
#include "tool/tagging/apply.h"
#include "tool/text/ethernet_numbers.h"

namespace gponflow {

namespace {

constexpr uint16_t vlans = gpon::VLAN_IDS;

using vlan_set = std::bitset<vlans>;

// Values that distinguish the rows of a table: those of their filters, and one that is in none.
template <typename number, typename Field>
std::vector<number> telling_values(const tag_operation& operation, number greatest, Field field)
{
    std::vector<number> values;
    for (const tag_row& row : operation.rows)
        for (const row_tag* filter : {&row.filter_outer, &row.filter_inner})
            if (field(*filter) <= greatest)
                values.push_back(static_cast<number>(field(*filter)));
    for (unsigned other = 0; other <= greatest; ++other)
        if (std::ranges::find(values, static_cast<number>(other)) == values.end()) {
            values.push_back(static_cast<number>(other));
            break;
        }
    std::ranges::sort(values);
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

// Frames that a filter of one tag may match, as far as the rows of the table distinguish them.
std::vector<frame_tag> tags_for(const tag_operation& operation, const row_tag& filter)
{
    const auto vids = telling_values<uint16_t>(operation, greatest_vid,
                                               [](const row_tag& tag) { return tag.vid; });
    const auto priorities = telling_values<uint8_t>(
        operation, greatest_priority, [](const row_tag& tag) { return tag.priority; });
    std::vector<frame_tag> tags;
    for (const uint16_t vid : vids)
        for (const uint8_t priority : priorities)
            for (const uint16_t tpid : {uint16_t{0x8100}, operation.input_tpid})
                for (const bool dei : {false, true})
                    if ((filter.vid > greatest_vid || filter.vid == vid) &&
                        (filter.priority > greatest_priority || filter.priority == priority))
                        tags.push_back({tpid, priority, dei, vid});
    return tags;
}

constexpr uint16_t ethertypes[] = {0x88cc, 0x0800, 0x8863, 0x0806, 0x86dd};

bool applies(const tag_operation& operation, const tag_row& row, const std::vector<frame_tag>& tags)
{
    return std::ranges::any_of(ethertypes, [&](uint16_t type) {
        const tag_row* found = matching_row(operation, tags, type);
        return found && *found == row;
    });
}

// A search in a large table is given up, as if a frame had been found.
constexpr size_t longest_search = 100'000;

bool applies_to_some_frame(const tag_operation& operation, const tag_row& row)
{
    if (tags_of(row) == 0)
        return applies(operation, row, {});
    const std::vector<frame_tag> inner = tags_for(operation, row.filter_inner);
    if (tags_of(row) == 1)
        return std::ranges::any_of(
            inner, [&](const frame_tag& tag) { return applies(operation, row, {tag}); });
    const std::vector<frame_tag> outer = tags_for(operation, row.filter_outer);
    size_t tried = 0;
    for (const frame_tag& first : outer)
        for (const frame_tag& second : inner)
            if (++tried > longest_search || applies(operation, row, {first, second}))
                return true;
    return false;
}

// Rows that look for DHCP leave other frames to the rows behind them. Those with a reserved value
// may do so: it is not known which frames they apply to.
tag_operation without_uncertain(const tag_operation& operation, const tag_row& row)
{
    tag_operation result = operation;
    std::erase_if(result.rows, [&](const tag_row& one) {
        return (one.extended_criteria != 0 || !fault_of(one).empty()) && !(one == row);
    });
    return result;
}

void check_rows(me_id id, const tag_operation& operation, finding_list& found)
{
    const std::vector<tag_row> predefined = default_rows();
    for (const table_row& row : operation.rows) {
        // The ONU creates the default rows, so it is no mistake that others cover them.
        if (is_default(row) || std::ranges::find(predefined, row) != predefined.end())
            continue;
        const std::string fault = fault_of(row);
        if (fault.empty() && applies_to_some_frame(without_uncertain(operation, row), row))
            continue;
        found.add({id, row.line}, "tagging-shadowed-row",
                  "the row \"" + row_text(row) + "\" " +
                      (fault.empty() ? "never applies: rows that are tried first apply to all its "
                                       "frames"
                                     : "cannot be interpreted: " + fault),
                  "delete the row, or correct its filter");
    }
}

// Tags as their VLANs with their priorities, a bit for each priority.
struct tag_values {
    vlan_set vids;
    uint8_t priorities = 0;
};
using vlan_priorities = std::array<uint8_t, vlans>;

tag_values values_of(const row_tag& filter)
{
    tag_values values{{}, every_priority};
    if (filter.vid <= greatest_vid)
        values.vids.set(filter.vid);
    else
        values.vids.set();
    if (filter.priority < any_priority)
        values.priorities = static_cast<uint8_t>(1u << filter.priority);
    return values;
}

uint8_t added_priorities(const row_tag& added, const tag_values& outer, const tag_values& inner)
{
    switch (added.priority) {
    case copy_inner_priority:
        return inner.priorities;
    case copy_outer_priority:
        return outer.priorities;
    case priority_of_dscp:
        return every_priority;
    default:
        return static_cast<uint8_t>(1u << (added.priority & 7));
    }
}

// The values that the outer tag of a frame may have behind a row.
tag_values produced_by(const tag_row& row)
{
    const bool two = tags_of(row) == 2;
    // An untagged frame has nothing to copy but the priority 0.
    const tag_values none{{}, 1};
    const tag_values outer =
        tags_of(row) == 0 ? none : values_of(two ? row.filter_outer : row.filter_inner);
    const tag_values inner = tags_of(row) == 0 ? none : values_of(row.filter_inner);
    for (const row_tag* added : {&row.outer, &row.inner}) {
        if (added->priority == add_no_tag)
            continue;
        tag_values values{{}, added_priorities(*added, outer, inner)};
        if (added->vid <= greatest_vid)
            values.vids.set(added->vid);
        else
            values.vids = added->vid == copy_inner_vid ? inner.vids : outer.vids;
        return values;
    }
    if (row.remove >= tags_of(row))
        return {};
    return row.remove == 0 ? outer : inner;
}

// Nothing if frames of any VLAN may leave the operation, or if that is not known.
std::optional<vlan_priorities> produced_by(const tag_operation& operation)
{
    if (!table_fault(operation).empty())
        return {};
    vlan_priorities all{};
    for (const tag_row& row : operation.rows) {
        if (row.remove == discard_frame)
            continue;
        if (!fault_of(row).empty())
            return {};
        const tag_values values = produced_by(row);
        for (unsigned vid = 0; vid < vlans; ++vid)
            all[vid] |= values.vids[vid] ? values.priorities : uint8_t{0};
    }
    if (std::ranges::count_if(all, [](uint8_t priorities) { return priorities != 0; }) > vlans / 2)
        return {};
    return all;
}

// The only operation between a UNI and its bridge.
std::optional<me_id> single_operation(const line_model& entities, me_id uni, me_id port)
{
    std::vector<me_id> all = operations_at(entities, uni);
    std::ranges::copy(operations_at(entities, port), std::back_inserter(all));
    if (all.size() != 1 || all[0].class_id != me_class::evtocd || !entities.operation(all[0]))
        return {};
    return all[0];
}

struct bridge_tags {
    vlan_priorities vids{};
    std::vector<me_id> operations;
};

// The VLANs that enter a bridge, if operations restrict them at each of its UNIs.
std::optional<bridge_tags> entering(const line_model& entities, uint16_t bridge)
{
    bridge_tags result;
    for (const me_instance& port : entities.instances(me_class::mbpcd)) {
        const auto me = port.as<gpon_raw_mbpcd>();
        if (me.bridgeID != bridge || type_of(port).side != tp_side::uni)
            continue;
        const auto operation =
            single_operation(entities, {type_of(port).class_id, me.tpPointer}, port.id);
        const auto produced = operation ? produced_by(*entities.operation(*operation))
                                        : std::optional<vlan_priorities>();
        if (!produced)
            return {};
        std::ranges::transform(result.vids, *produced, result.vids.begin(), std::bit_or<uint8_t>());
        result.operations.push_back(*operation);
    }
    if (result.operations.empty())
        return {};
    return result;
}

// A tag that a filter lists in order to pass it. Without a priority, each one passes.
struct listed_tag {
    unsigned vid;
    std::optional<unsigned> priority;
    size_t entry; ///< of the list
};

std::vector<listed_tag> listed_tags(const gpon_raw_vtfd& filter)
{
    std::vector<listed_tag> tags;
    // A list that drops, or that compares priorities alone, expects no VLAN.
    const tag_set passed = passed_by(filter);
    const uint16_t compared = compared_bits(filter.forwardOperation);
    if (!(compared & gpon::TCI_VLAN) || passed.count() > passed.size() / 2)
        return tags;
    const std::span<const uint16_t> list = listed_tcis(filter);
    for (size_t i = 0; i < list.size(); ++i)
        if (const unsigned vid = gpon::vlan_of(list[i]); vid != 0)
            tags.push_back({vid,
                            compared & gpon::TCI_PRIORITY
                                ? std::optional<unsigned>(gpon::priority_of(list[i]))
                                : std::nullopt,
                            i});
    return tags;
}

bool is_produced(const vlan_priorities& produced, const listed_tag& tag)
{
    return (produced[tag.vid] & (tag.priority ? 1u << *tag.priority : every_priority)) != 0;
}

std::string text_of(const listed_tag& tag)
{
    return "VLAN " + std::to_string(tag.vid) +
           (tag.priority ? " with priority " + std::to_string(*tag.priority) : "");
}

// A row that is missing was set nowhere: the line is that of the entry that needs it.
void check_filter(const me_instance& filter, const bridge_tags& entered, finding_list& found)
{
    for (const listed_tag& tag : listed_tags(filter.as<gpon_raw_vtfd>()))
        if (!is_produced(entered.vids, tag))
            found.add(
                {entered.operations.front(), filter.source_of("vlanFilterList", tag.entry).line},
                "tagging-no-row",
                "no row produces " + text_of(tag) + ", which " + to_text(filter.id) + " passes",
                "add a row that produces the VLAN, or remove it from the filter");
}

// Untagged frames have the default priority, or that of their DSCP.
unsigned untagged_priorities(const gpon_raw_mapper& mapper)
{
    switch (mapper.unmark_frame_opt) {
    case gpon::FROM_DSCP:
        return every_priority;
    case gpon::FROM_DEFAULT_PBIT:
        return mapper.defaultPbit < gpon::PRIORITIES ? 1u << mapper.defaultPbit : 0;
    default:
        return 0;
    }
}

// The priorities with which frames reach a mapper, a bit for each one.
uint8_t priorities_at(const gpon_raw_mapper& mapper, const me_instance* filter,
                      const bridge_tags& entered)
{
    unsigned priorities = untagged_priorities(mapper);
    const tag_set passed = filter ? passed_by(filter->as<gpon_raw_vtfd>()) : ~tag_set();
    for (unsigned vid = 0; vid < vlans; ++vid)
        for (unsigned priority = 0; priority < gpon::PRIORITIES; ++priority)
            if (entered.vids[vid] & 1u << priority && passed[gpon::to_tci(priority, false, vid)])
                priorities |= 1u << priority;
    return static_cast<uint8_t>(priorities);
}

// Priorities of a mapper by the GEM IW TP that they select.
std::map<uint16_t, uint8_t> priorities_by_target(const line_model& entities,
                                                 const gpon_raw_mapper& mapper)
{
    std::map<uint16_t, uint8_t> result;
    for (size_t i = 0; i < std::size(mapper.pbit_GemIWTP); ++i)
        if (const uint16_t target = mapper.pbit_GemIWTP[i];
            entities.find({me_class::gemiw, target}))
            result[target] = static_cast<uint8_t>(result[target] | 1u << i);
    return result;
}

std::string priorities_text(uint8_t priorities)
{
    std::string text = std::popcount(priorities) == 1 ? "priority " : "priorities ";
    for (unsigned i = 0, written = 0; i < gpon::PRIORITIES; ++i)
        if (priorities & 1u << i)
            text += (written++ ? ", " : "") + std::to_string(i);
    return text;
}

finding_place at_priorities(const me_instance& mapper, uint8_t priorities)
{
    finding_place place(mapper.id, 0);
    for (unsigned i = 0; i < gpon::PRIORITIES; ++i)
        if (priorities & 1u << i)
            place.line = std::max(place.line, at(mapper, "pbit_GemIWTP", i).line);
    return place;
}

// A GEM port for priorities that no row produces carries no upstream frame.
void check_mapper(const line_model& entities, const me_instance& mapper, const me_instance* filter,
                  const bridge_tags& entered, finding_list& found)
{
    const auto me = mapper.as<gpon_raw_mapper>();
    const uint8_t reached = priorities_at(me, filter, entered);
    for (const auto& [target, priorities] : priorities_by_target(entities, me))
        if ((priorities & reached) == 0)
            found.add(at_priorities(mapper, priorities), "tagging-no-row", finding_weight::warning,
                      "no row produces " + priorities_text(priorities) + " for " +
                          to_text(me_id{me_class::gemiw, target}),
                      "add a row that produces the priority, or correct the mapper");
}

void check_expected(const line_model& entities, const me_instance& port, finding_list& found)
{
    if (type_of(port).side != tp_side::ani || type_of(port).class_id == me_class::multigemiw ||
        !operations_at(entities, port.id).empty())
        return;
    const auto me = port.as<gpon_raw_mbpcd>();
    const auto entered = entering(entities, me.bridgeID);
    if (!entered)
        return;
    const me_instance* filter = entities.find({me_class::vtfd, port.id.instance});
    if (filter)
        check_filter(*filter, *entered, found);
    const me_id target{type_of(port).class_id, me.tpPointer};
    const me_instance* mapper =
        target.class_id == me_class::mapper ? entities.find(target) : nullptr;
    if (mapper && operations_at(entities, target).empty())
        check_mapper(entities, *mapper, filter, *entered, found);
}

} // namespace

void check_tagging(const line_model& entities, finding_list& found)
{
    for (const me_id id : entities.tag_operations()) {
        const unsigned association =
            entities.line_of(id, {tag_attribute::association, tag_attribute::associated});
        if (const std::string why = placement_fault(entities, id); !why.empty())
            found.add({id, association}, "tagging-unassociated",
                      why + ": the operation is not applied",
                      "set its association type and associated ME pointer");
        const tag_operation* operation = entities.operation(id);
        if (operation && table_fault(*operation).empty())
            check_rows(id, *operation, found);
    }
    for (const me_instance& port : entities.instances(me_class::mbpcd))
        check_expected(entities, port, found);
}

} // namespace gponflow
