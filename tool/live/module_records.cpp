// SPDX-License-Identifier: GPL-2.0-only
// The tool's form of the module's records.
#include "tool/live/module_records.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "hash/crc32.h"
#include "hash/dump.h"
#include "include/packet_flow.h"
#include "tool/model/class_records.h"

namespace gponflow {

namespace {

// The hash of the rule's key, which selects its bucket.
uint32_t hash_of(const gpon_seen_rule& seen)
{
    bytes key;
    const auto put = [&](const auto& field) {
        const auto* from = reinterpret_cast<const uint8_t*>(&field);
        key.insert(key.end(), from, from + sizeof(field));
    };
    put(seen.dst_mac);
    put(seen.src_mac);
    put(uint16_t{0}); // no rule has a port
    put(seen.direction);
    for (size_t i = 0; i < seen.tags; ++i) {
        put(seen.tpid[i]);
        put(seen.tci[i]);
    }
    return gpon_hash_calc_key(key.data(), static_cast<uint16_t>(key.size()));
}

std::string change_name(const gpon_event& event)
{
    constexpr std::array rule_ends = {"gone", "aged", "flushed", "deleted", "lost"};
    constexpr std::array instance_changes = {"changed", "created", "set", "linked", "deleted"};
    switch (event.kind) {
    case GPON_EVENT_RULE_LEARNT:
        return "learnt";
    case GPON_EVENT_RULE_RELEARNT:
        return "relearnt";
    case GPON_EVENT_RULE_GONE:
        return rule_ends.at(event.cause < rule_ends.size() ? event.cause : 0);
    case GPON_EVENT_INSTANCE_CHANGED:
        return instance_changes.at(event.cause < instance_changes.size() ? event.cause : 0);
    case GPON_EVENT_TABLE_GROWN:
        break;
    }
    return "grown";
}

dumped_attribute attribute_of(const gpon_me_field& field, const gpon_seen_instance& seen)
{
    dumped_attribute result{field.name, field.count > 1, {}};
    for (uint32_t i = 0; i < field.count; ++i) {
        uint32_t value = 0;
        const size_t at = field.offset + size_t{i} * field.width;
        if (at + field.width <= sizeof(seen.raw))
            std::memcpy(&value, seen.raw + at, field.width);
        result.values.push_back(value);
    }
    return result;
}

// The name of the class's row for links from that class.
dumped_link link_of(const class_record& known, me_class from_class)
{
    const auto row = std::ranges::find(known.links, from_class, &recordable_links::class_id);
    if (row == known.links.end())
        return {std::to_string(gpon::class_number(from_class)), false, false, {}};
    return {std::string(row->name), row->capacity > 1, false, {}};
}

// Single values before lists, as in the module's dump.
template <typename T, typename U> void lists_last(std::vector<T>& all, U is_list)
{
    std::stable_partition(all.begin(), all.end(), [&](const T& one) { return !(one.*is_list); });
}

} // namespace

dumped_instance instance_of(const gpon_seen_instance& seen)
{
    dumped_instance result;
    result.id = {gpon::to_me_class(seen.class_id), seen.inst_id};
    const class_record* known = find_me_class(result.id.class_id);
    if (!known)
        return result;
    for (const gpon_me_field& field : known->fields)
        result.attributes.push_back(attribute_of(field, seen));
    const unsigned short* ids = seen.id;
    for (unsigned row = 0; row < std::min<unsigned>(seen.rows, GPON_SEEN_ROWS); ++row) {
        dumped_link link = link_of(*known, gpon::to_me_class(seen.row_class[row]));
        link.instances.assign(ids, ids + seen.row_ids[row]);
        ids += seen.row_ids[row];
        result.links.push_back(std::move(link));
    }
    lists_last(result.attributes, &dumped_attribute::array);
    lists_last(result.links, &dumped_link::list);
    return result;
}

seen_rule rule_of(const gpon_seen_rule& seen)
{
    seen_rule result;
    std::ranges::copy(seen.dst_mac, result.rule.key.destination.begin());
    std::ranges::copy(seen.src_mac, result.rule.key.source.begin());
    for (size_t i = 0; i < std::min<size_t>(seen.tags, GPON_SEEN_TAGS); ++i)
        result.rule.key.tags.push_back({seen.tpid[i], seen.tci[i]});
    result.rule.key.direction = gpon::direction_name(seen.direction);
    for (size_t i = 0; i < std::min<size_t>(seen.steps, GPON_SEEN_STEPS); ++i)
        result.rule.steps.push_back({gpon::to_me_class(seen.class_id[i]), seen.inst_id[i]});
    result.rule.hash = hash_of(seen);
    result.hits = seen.hits;
    result.idle = seen.idle;
    if (seen.remembered && seen.gemport_id != 0)
        result.gem_port = seen.gemport_id;
    return result;
}

module_change change_of(const gpon_event& event, uint32_t number)
{
    module_change result;
    result.change = change_name(event);
    result.number = number;
    result.buckets = event.buckets;
    if (event.kind == GPON_EVENT_INSTANCE_CHANGED) {
        result.about = module_change::subject::instance;
        result.instance = {gpon::to_me_class(event.class_id), event.inst_id};
    } else if (event.kind == GPON_EVENT_TABLE_GROWN) {
        result.about = module_change::subject::table;
    } else {
        result.rule = rule_of(event.rule);
    }
    return result;
}

} // namespace gponflow
