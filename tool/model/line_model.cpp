// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/line_model.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tool/model/class_records.h"
#include "tool/model/omci_attributes.h"

namespace gponflow {

namespace {

std::string element_name(const gpon_me_field& field, unsigned element)
{
    const std::string name = field.name;
    return field.count > 1 ? name + "[" + std::to_string(element) + "]" : name;
}

// The id in a record may differ from the id of the instance; the module records links with the
// latter.
uint16_t target_instance(const gpon_me_pointer& pointer, const me_instance& from, unsigned element)
{
    return pointer.field.offset == 0 ? from.id.instance
                                     : gpon::target_id(pointer, from.raw.data(), element);
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
    // A create does not check for a duplicate id.
    if (message == ZR_OMCI_MSG_TYPE_SET && is_recorded(row.instances, id))
        return;
    if (row.instances.size() < row.places)
        row.instances.push_back(id);
}

using noted_lines = std::map<uint16_t, unsigned>;

size_t place_of_element(const gpon_me_field& field, size_t element)
{
    return field.offset + element * field.width;
}

// The record of a set is stored as a whole.
void note_changes(noted_lines& noted, const me_instance& stored, const bytes& raw,
                  const class_record& known, unsigned source_line)
{
    for (const gpon_me_field& field : known.fields)
        for (size_t i = 0; i < field.count; ++i)
            if (const size_t at = place_of_element(field, i);
                std::memcmp(&stored.raw[at], &raw[at], field.width) != 0)
                noted[static_cast<uint16_t>(at)] = source_line;
}

// The elements of a field that an attribute fills.
void note_elements(noted_lines& noted, const omci::attribute& one, unsigned source_line)
{
    const gpon_me_field& field = one.field;
    const size_t last = field.count == 1 ? 1 : one.element + size_t{one.bytes} / field.width;
    for (size_t i = one.element; i < std::min<size_t>(last, field.count); ++i)
        noted[static_cast<uint16_t>(place_of_element(field, i))] = source_line;
}

// The attributes of the mask, even with the values that they have already: the last command that
// writes an attribute is the one to correct. Without a mask, a set repeats the record.
void note_mask(noted_lines& noted, const class_record& known, uint16_t mask, unsigned source_line)
{
    constexpr uint16_t no_mask = 0xffff;
    const omci::attribute_class* attributes = omci::find_attribute_class(known.id);
    if (!attributes || mask == no_mask)
        return;
    for (size_t i = 0; i < attributes->attributes.size(); ++i) {
        const omci::attribute& one = attributes->attributes[i];
        if (one.is_stored() && (mask & omci::attribute_bit(i)))
            note_elements(noted, one, source_line);
    }
}

} // namespace

std::string to_text(me_id me)
{
    char id[8];
    std::snprintf(id, sizeof(id), "0x%04x", me.instance);
    return class_name(me.class_id) + " " + id;
}

unsigned me_instance::line_of(const gpon_me_field& field, size_t element) const
{
    const auto later = written.find(static_cast<uint16_t>(place_of_element(field, element)));
    return later == written.end() ? created : later->second;
}

unsigned me_instance::line_of(std::string_view field) const
{
    const class_record* known = find_me_class(id.class_id);
    const gpon_me_field* found = known ? find_field(known->fields, field) : nullptr;
    if (!found)
        return source_line;
    unsigned last = 0;
    for (size_t i = 0; i < found->count; ++i)
        last = std::max(last, line_of(*found, i));
    return last;
}

std::vector<attribute_source>
me_instance::sources_of(std::initializer_list<std::string_view> fields) const
{
    std::vector<attribute_source> sources;
    for (const std::string_view field : fields)
        sources.push_back({std::string(field), line_of(field)});
    return sources;
}

attribute_source me_instance::source_of(std::string_view field, size_t element) const
{
    const class_record* known = find_me_class(id.class_id);
    const gpon_me_field* found = known ? find_field(known->fields, field) : nullptr;
    if (!found)
        return {std::string(field), source_line};
    return {element_name(*found, static_cast<unsigned>(element)), line_of(*found, element)};
}

const recorded_row* me_instance::row_of(me_class class_id) const
{
    const auto found = std::ranges::find(rows, class_id, &recorded_row::class_id);
    return found == rows.end() ? nullptr : &*found;
}

bool me_instance::records(me_id from) const
{
    const recorded_row* row = row_of(from.class_id);
    return row && is_recorded(row->instances, from.instance);
}

void line_model::apply(const me_command& command, unsigned source_line)
{
    const class_record* known = find_me_class(command.class_id);
    if (!known)
        return;
    // A new instance starts without the facts of an older one with its id.
    if (command.message != ZR_OMCI_MSG_TYPE_SET)
        operations_.erase({command.class_id, command.instance});
    if (command.message == ZR_OMCI_MSG_TYPE_DELETE)
        remove(command);
    else if ((command.message == ZR_OMCI_MSG_TYPE_CREAT ||
              command.message == ZR_OMCI_MSG_TYPE_SET) &&
             command.raw && command.raw->size() >= known->raw_size)
        store(command, *known, source_line);
}

void line_model::apply(const config_command& command)
{
    configuration_ = {};
    if (command.raw)
        std::memcpy(&configuration_, command.raw->data(),
                    std::min(sizeof(configuration_), command.raw->size()));
}

void line_model::clear()
{
    classes_.clear();
    places_.clear();
    operations_.clear();
}

void line_model::apply(const tag_facts& facts, unsigned source_line)
{
    operation_facts& known = operations_[{facts.class_id, facts.instance}];
    gponflow::apply(facts, known.operation, source_line);
    if (known.begun == 0)
        known.begun = source_line;
}

const me_instance* line_model::first_related(me_id from, me_class class_id) const
{
    const std::vector<me_id> all = related(from, class_id);
    return all.empty() ? nullptr : find(all.front());
}

std::vector<me_id> line_model::tag_operations() const
{
    std::vector<me_id> all;
    for (const auto& [id, known] : operations_)
        all.push_back(id);
    for (const me_class class_id : {me_class::vtocd, me_class::evtocd})
        for (const me_instance& one : instances(class_id))
            if (!operations_.contains(one.id))
                all.push_back(one.id);
    std::ranges::sort(all);
    return all;
}

const tag_operation* line_model::operation(me_id id) const
{
    const auto found = operations_.find(id);
    return found == operations_.end() ? nullptr : &found->second.operation;
}

unsigned line_model::creation_line(me_id id) const
{
    if (const me_instance* one = find(id))
        return one->created;
    const auto found = operations_.find(id);
    return found == operations_.end() ? 0 : found->second.begun;
}

unsigned line_model::line_of(me_id id, std::initializer_list<tag_attribute> which) const
{
    unsigned last = 0;
    if (const tag_operation* known = operation(id))
        for (const tag_attribute one : which)
            last = std::max(last, known->line_of(one));
    return last == 0 ? creation_line(id) : last;
}

void line_model::restore(me_instance instance)
{
    std::vector<me_instance>& list = classes_[instance.id.class_id];
    places_[instance.id.class_id].emplace(instance.id.instance, list.size());
    list.push_back(std::move(instance));
}

void line_model::store(const me_command& command, const class_record& known, unsigned source_line)
{
    const me_id id{command.class_id, command.instance};
    me_instance* stored = find(id);
    const bool written_before = stored && !stored->automatic;
    if (!stored)
        stored = &add(id, known, source_line);
    if (command.message == ZR_OMCI_MSG_TYPE_SET && written_before) {
        note_changes(stored->written, *stored, *command.raw, known, source_line);
        note_mask(stored->written, known, command.mask, source_line);
    } else {
        stored->created = source_line;
        stored->written.clear();
    }
    stored->raw = *command.raw;
    stored->source_line = source_line;
    stored->automatic = false;
    // By value: recording a link may add an instance to the same list.
    for (const me_pointer& pointer : pointers(*stored))
        if (pointer.mask & command.mask)
            report(pointer, command.message, source_line);
}

void line_model::remove(const me_command& command)
{
    std::vector<me_instance>& list = classes_[command.class_id];
    const me_id id{command.class_id, command.instance};
    const me_instance* stored = find(id);
    if (!stored)
        return;
    for (const me_pointer& pointer : pointers(*stored)) {
        // Every handler runs, but the handler of a list tests the mask for each of its elements.
        if (!pointer.list_element || (pointer.mask & command.mask))
            report(pointer, command.message, 0);
    }
    std::erase_if(list, [&](const me_instance& one) { return one.id == id; });
    number_places(command.class_id);
}

// After a deletion, which moves the instances behind it.
void line_model::number_places(me_class class_id)
{
    std::unordered_map<uint16_t, size_t>& places = places_[class_id];
    const std::vector<me_instance>& list = classes_[class_id];
    places.clear();
    for (size_t i = 0; i < list.size(); ++i)
        places.emplace(list[i].id.instance, i);
}

void line_model::report(const me_pointer& pointer, uint8_t message, unsigned source_line)
{
    me_instance* holder = find(pointer.to);
    if (!holder) {
        const class_record* known = find_me_class(pointer.to.class_id);
        if (!known || !known->created_by_links || message == ZR_OMCI_MSG_TYPE_DELETE)
            return;
        holder = &add(pointer.to, *known, source_line);
        holder->automatic = true;
        if (known->fill_defaults)
            known->fill_defaults(holder->raw.data(), configuration_);
    }
    const auto row =
        std::ranges::find(holder->rows, pointer.from.class_id, &recorded_row::class_id);
    if (row != holder->rows.end())
        change_row(*row, pointer.from.instance, message);
}

me_instance& line_model::add(me_id id, const class_record& known, unsigned source_line)
{
    me_instance made;
    made.id = id;
    made.source_line = source_line;
    made.created = source_line;
    made.raw.resize(known.raw_size);
    std::memcpy(made.raw.data(), &id.instance, sizeof(id.instance));
    for (const recordable_links& links : known.links)
        made.rows.push_back({links.class_id, links.capacity, {}});
    std::vector<me_instance>& list = classes_[id.class_id];
    places_[id.class_id].emplace(id.instance, list.size());
    return list.emplace_back(std::move(made));
}

const std::vector<me_instance>& line_model::instances(me_class class_id) const
{
    static const std::vector<me_instance> none;
    const auto found = classes_.find(class_id);
    return found == classes_.end() ? none : found->second;
}

std::vector<const me_instance*> line_model::all() const
{
    std::vector<const me_instance*> result;
    for (const class_record& fields : me_classes())
        for (const me_instance& one : instances(fields.id))
            result.push_back(&one);
    return result;
}

const me_instance* line_model::find(me_id id) const
{
    const auto places = places_.find(id.class_id);
    if (places == places_.end())
        return nullptr;
    const auto place = places->second.find(id.instance);
    return place == places->second.end() ? nullptr : &instances(id.class_id)[place->second];
}

me_instance* line_model::find(me_id id)
{
    return const_cast<me_instance*>(std::as_const(*this).find(id));
}

std::vector<me_pointer> line_model::pointers(const me_instance& from) const
{
    std::vector<me_pointer> result;
    const class_record* known = find_me_class(from.id.class_id);
    // The module records no pointer of an instance that it created itself.
    if (!known || from.automatic || from.raw.size() < known->raw_size)
        return result;
    for (const gpon_me_pointer& pointer : known->pointers) {
        const me_class target = gpon::target_class(pointer, from.raw.data(), configuration_);
        if (target == me_class::none)
            continue;
        for (unsigned i = 0; i < pointer.field.count; ++i) {
            if (!gpon::has_target(pointer, from.raw.data(), i))
                continue;
            result.push_back({.from = from.id,
                              .to = {target, target_instance(pointer, from, i)},
                              .attribute = element_name(pointer.field, i),
                              .source_line = from.line_of(pointer.field, i),
                              .mask = gpon::element_mask(pointer, i),
                              .list_element = pointer.field.count > 1});
        }
    }
    return result;
}

pointer_state line_model::state(const me_pointer& pointer) const
{
    const me_instance* holder = find(pointer.to);
    if (!holder)
        return pointer_state::missing;
    const recorded_row* row = holder->row_of(pointer.from.class_id);
    if (!row || is_recorded(row->instances, pointer.from.instance))
        return pointer_state::recorded;
    return row->instances.size() < row->places ? pointer_state::unrecorded
                                               : pointer_state::overflowed;
}

std::vector<me_id> line_model::related(me_id from, me_class class_id) const
{
    std::vector<me_id> result;
    if (const me_instance* holder = find(from))
        if (const recorded_row* row = holder->row_of(class_id))
            for (const uint16_t id : row->instances)
                result.push_back({class_id, id});
    // All instances of a class record the same classes: mostly, none of these is that of `from`.
    const std::vector<me_instance>& others = instances(class_id);
    if (others.empty() || !others.front().row_of(from.class_id))
        return result;
    for (const me_instance& one : others)
        if (one.records(from))
            result.push_back(one.id);
    return result;
}

} // namespace gponflow
