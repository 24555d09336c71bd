// SPDX-License-Identifier: GPL-2.0-only
// Pointers between instances, and instances that no pointer of a path names.
#include <algorithm>
#include <array>
#include <set>

#include "tool/check/families.h"

namespace gponflow {

namespace {

// Created by the OLT for a path, in contrast to those that the ONU creates for its hardware.
constexpr std::array path_classes = {me_class::mbsp, me_class::mapper, me_class::gemiw,
                                     me_class::multigemiw, me_class::gemctp};

bool is_scheduling(me_class class_id)
{
    const class_record* known = find_me_class(class_id);
    return known && known->scheduling;
}

// Links that no walk follows: they describe scheduling and rates.
bool is_followed(const me_pointer& pointer)
{
    return !is_scheduling(pointer.to.class_id) && !is_scheduling(pointer.from.class_id);
}

std::string taken_by(const line_model& entities, const me_pointer& pointer)
{
    const recorded_row* row = entities.find(pointer.to)->row_of(pointer.from.class_id);
    if (row->instances.empty())
        return "no entries";
    return std::to_string(row->places) + (row->places == 1 ? " entry" : " entries") +
           ", used first by " + to_text({pointer.from.class_id, row->instances.front()});
}

void check_pointer(const line_model& entities, const me_instance& from, const me_pointer& pointer,
                   finding_list& found)
{
    const bool followed = is_followed(pointer);
    const auto weight = followed ? finding_weight::problem : finding_weight::note;
    const std::string target = to_text(pointer.to);
    const finding_place place(from.id, pointer.source_line);
    switch (entities.state(pointer)) {
    case pointer_state::recorded:
        return;
    case pointer_state::missing:
        return found.add(place, "missing-instance", weight,
                         pointer.attribute + " names " + target + ", which does not exist",
                         "create it before this instance, or correct the pointer");
    case pointer_state::unrecorded:
        return found.add(place, "not-linked", weight,
                         pointer.attribute + " names " + target +
                             ", but the link is not recorded: the target was created later, or "
                             "the mask does not include the attribute",
                         "set " + pointer.attribute + " again after the target is created");
    case pointer_state::overflowed:
        return found.add(place, followed ? "row-overflow" : "capacity",
                         target + " has no free entry for it (" + taken_by(entities, pointer) + ")",
                         "use a separate target; only the first pointers are recorded");
    }
}

// The instances of path classes that some pointer names.
std::set<me_id> named_instances(const line_model& entities)
{
    std::set<me_id> named;
    for (const me_instance* from : entities.all())
        for (const me_pointer& pointer : entities.pointers(*from))
            named.insert(pointer.to);
    return named;
}

void check_reachable(const line_model& entities, finding_list& found)
{
    const std::set<me_id> named = named_instances(entities);
    for (const me_class class_id : path_classes)
        for (const me_instance& one : entities.instances(class_id))
            if (!named.contains(one.id))
                found.add(one, "unreachable", "no instance points at it: no frame reaches it",
                          "point at it, or delete it");
}

} // namespace

void check_pointers(const line_model& entities, finding_list& found)
{
    for (const me_instance* from : entities.all())
        for (const me_pointer& pointer : entities.pointers(*from))
            // The priorities of a mapper are reported once per mapper.
            if (from->id.class_id != me_class::mapper || !pointer.list_element)
                check_pointer(entities, *from, pointer, found);
    check_reachable(entities, found);
}

} // namespace gponflow
