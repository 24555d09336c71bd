// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/tag_places.h"

#include <array>

#include "tool/tagging/sources.h"

namespace gponflow {

namespace {

// An operation of class 78 without another association belongs to the UNI with its id, on some ONUs
// to the bridge port. The most likely comes first.
constexpr std::array same_id_classes = {me_class::pptp, me_class::veip, me_class::mbpcd};

std::optional<me_id> with_same_id(const line_model& entities, me_id operation)
{
    for (const me_class class_id : same_id_classes)
        if (entities.find({class_id, operation.instance}))
            return me_id{class_id, operation.instance};
    return {};
}

} // namespace

std::optional<me_id> place_of(const line_model& entities, me_id operation)
{
    const tag_operation* known = entities.operation(operation);
    if (operation.class_id == me_class::vtocd && (!known || known->association.value_or(0) == 0))
        return with_same_id(entities, operation);
    if (!known)
        return {};
    const me_class class_id = associated_class(*known);
    if (class_id == me_class::none)
        return {};
    return me_id{class_id, known->associated};
}

std::string placement_fault(const line_model& entities, me_id operation)
{
    if (const auto place = place_of(entities, operation))
        return entities.find(*place) ? "" : to_text(*place) + " does not exist";
    const tag_operation* known = entities.operation(operation);
    if (operation.class_id == me_class::vtocd && (!known || known->association.value_or(0) == 0))
        return "no UNI or bridge port has its id";
    if (!known || !known->association)
        return "its association is not known";
    return "its association is of a kind that is not mirrored (" +
           association_name(operation.class_id, *known->association) + ")";
}

std::vector<attribute_source> placement_sources(const line_model& entities, me_id operation)
{
    const tag_operation* known = entities.operation(operation);
    if (!known)
        return {};
    return sources_of(*known, {tag_attribute::association, tag_attribute::associated});
}

std::vector<me_id> operations_at(const line_model& entities, me_id place)
{
    std::vector<me_id> result;
    for (const me_id operation : entities.tag_operations())
        if (place_of(entities, operation) == place)
            result.push_back(operation);
    return result;
}

} // namespace gponflow
