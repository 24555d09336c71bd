// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/line_model.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tool/model/me_fields.h"

namespace gponflow {

namespace {

// An unconfigured divisor leaves everything in the remainder.
std::pair<uint32_t, uint32_t> divide(uint32_t value, uint32_t by)
{
    if (by == 0)
        return {0, value};
    return {value / by, value % by};
}

bool is_recorded(const std::vector<uint16_t>& ids, uint16_t id)
{
    return std::ranges::find(ids, id) != ids.end();
}

void change_row(recorded_row& row, uint16_t id, uint8_t message)
{
    if (message == ZR_OMCI_MSG_TYPE_DELETE) {
        if (const auto at = std::ranges::find(row.instances, id); at != row.instances.end())
            row.instances.erase(at);
        return;
    }
    // A create does not look whether the id is there already.
    if (message == ZR_OMCI_MSG_TYPE_SET && is_recorded(row.instances, id))
        return;
    if (row.instances.size() < row.places)
        row.instances.push_back(id);
}

} // namespace

std::string to_text(me_id what)
{
    char id[8];
    std::snprintf(id, sizeof(id), "0x%04x", what.instance);
    const me_class_fields* fields = find_me_class(what.class_id);
    return (fields ? std::string(fields->name) : "class " + std::to_string(what.class_id)) + " " +
           id;
}

const recorded_row* mirrored_instance::row_of(uint16_t class_id) const
{
    const auto found = std::ranges::find(rows, class_id, &recorded_row::class_id);
    return found == rows.end() ? nullptr : &*found;
}

bool mirrored_instance::records(me_id from) const
{
    const recorded_row* row = row_of(from.class_id);
    return row && is_recorded(row->instances, from.instance);
}

void mirror::apply(const me_command& command, unsigned line)
{
    const me_class_fields* fields = find_me_class(command.class_id);
    if (!fields)
        return;
    if (command.message == ZR_OMCI_MSG_TYPE_DELETE)
        remove(command);
    else if ((command.message == ZR_OMCI_MSG_TYPE_CREAT ||
              command.message == ZR_OMCI_MSG_TYPE_SET) &&
             command.raw && command.raw->size() >= fields->raw_size)
        store(command, line);
}

void mirror::apply(const config_command& command)
{
    configuration_ = {};
    if (command.raw)
        std::memcpy(&configuration_, command.raw->data(),
                    std::min(sizeof(configuration_), command.raw->size()));
}

void mirror::clear()
{
    classes_.clear();
}

void mirror::restore(mirrored_instance instance)
{
    classes_[instance.id.class_id].push_back(std::move(instance));
}

void mirror::store(const me_command& command, unsigned line)
{
    const me_id id{command.class_id, command.instance};
    mirrored_instance* stored = find(id);
    if (!stored)
        stored = &add(id, line);
    stored->raw = *command.raw;
    stored->line = line;
    stored->automatic = false;
    // By value: a report may add an instance to the same list.
    for (const me_pointer& pointer : pointers(*stored))
        if (pointer.mask & command.mask)
            report(pointer, command.message, line);
}

void mirror::remove(const me_command& command)
{
    std::vector<mirrored_instance>& list = classes_[command.class_id];
    const me_id id{command.class_id, command.instance};
    const mirrored_instance* stored = find(id);
    if (!stored)
        return;
    for (const me_pointer& pointer : pointers(*stored)) {
        // Every handler runs, but the mapper's looks at the mask for each of its pointers.
        const bool by_priority = id.class_id == 130 && pointer.to.class_id == 266;
        if (!by_priority || (pointer.mask & command.mask))
            report(pointer, command.message, 0);
    }
    std::erase_if(list, [&](const mirrored_instance& one) { return one.id == id; });
}

void mirror::report(const me_pointer& what, uint8_t message, unsigned line)
{
    mirrored_instance* holder = find(what.to);
    if (!holder) {
        if (!is_created_by_links(what.to.class_id) || message == ZR_OMCI_MSG_TYPE_DELETE)
            return;
        holder = &add(what.to, line);
        holder->automatic = true;
        if (what.to.class_id == 277)
            fill_queue(*holder);
    }
    const auto row = std::ranges::find(holder->rows, what.from.class_id, &recorded_row::class_id);
    if (row != holder->rows.end())
        change_row(*row, what.from.instance, message);
}

mirrored_instance& mirror::add(me_id what, unsigned line)
{
    mirrored_instance made;
    made.id = what;
    made.line = line;
    made.raw.resize(find_me_class(what.class_id)->raw_size);
    std::memcpy(made.raw.data(), &what.instance, sizeof(what.instance));
    for (const recording_rule& rule : recording_rules())
        if (rule.holder == what.class_id)
            made.rows.push_back({rule.class_id, rule.places, {}});
    return classes_[what.class_id].emplace_back(std::move(made));
}

void mirror::fill_queue(mirrored_instance& queue) const
{
    const gpon_flow_cfg_data& cfg = configuration_;
    auto me = queue.as<gpon_raw_pq>();
    if (me.instID < cfg.upstream_queue_num) {
        const auto [tcont, place] = divide(me.instID, cfg.queues_per_tcont);
        me.relatedPort = ((cfg.tcont_base + tcont + 1) << 16) + place;
    } else {
        const auto [uni, place] = divide(me.instID - cfg.downstream_queue_base, cfg.queues_per_uni);
        me.relatedPort = ((cfg.downstream_queue_base + uni) << 16) + (~place & 7);
    }
    me.tsPointer = cfg.default_ts_pointer;
    me.weight = cfg.default_weight;
    std::memcpy(queue.raw.data(), &me, sizeof(me));
}

const std::vector<mirrored_instance>& mirror::instances(uint16_t class_id) const
{
    static const std::vector<mirrored_instance> none;
    const auto found = classes_.find(class_id);
    return found == classes_.end() ? none : found->second;
}

std::vector<const mirrored_instance*> mirror::all() const
{
    std::vector<const mirrored_instance*> result;
    for (const me_class_fields& fields : me_classes())
        for (const mirrored_instance& one : instances(fields.id))
            result.push_back(&one);
    return result;
}

const mirrored_instance* mirror::find(me_id what) const
{
    const auto& list = instances(what.class_id);
    const auto found = std::ranges::find(list, what, &mirrored_instance::id);
    return found == list.end() ? nullptr : &*found;
}

mirrored_instance* mirror::find(me_id what)
{
    return const_cast<mirrored_instance*>(std::as_const(*this).find(what));
}

pointer_state mirror::state(const me_pointer& what) const
{
    const mirrored_instance* holder = find(what.to);
    if (!holder)
        return pointer_state::missing;
    const recorded_row* row = holder->row_of(what.from.class_id);
    if (!row || is_recorded(row->instances, what.from.instance))
        return pointer_state::recorded;
    return row->instances.size() < row->places ? pointer_state::unrecorded
                                               : pointer_state::overflowed;
}

std::vector<me_id> mirror::related(me_id from, uint16_t class_id) const
{
    std::vector<me_id> result;
    if (const mirrored_instance* holder = find(from))
        if (const recorded_row* row = holder->row_of(class_id))
            for (const uint16_t id : row->instances)
                result.push_back({class_id, id});
    for (const mirrored_instance& one : instances(class_id))
        if (one.records(from))
            result.push_back(one.id);
    return result;
}

} // namespace gponflow
