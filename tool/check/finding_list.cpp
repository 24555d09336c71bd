// SPDX-License-Identifier: GPL-2.0-only
#include "tool/check/finding_list.h"

#include <algorithm>
#include <stdexcept>

namespace gponflow {

finding_place at(const me_instance& entity, std::initializer_list<std::string_view> fields)
{
    unsigned line = 0;
    for (const std::string_view field : fields)
        line = std::max(line, entity.line_of(field));
    return {entity.id, line};
}

finding_place at(const me_instance& entity, std::string_view field, size_t element)
{
    return {entity.id, entity.source_of(field, element).line};
}

void finding_list::add(const finding_place& place, std::string_view rule, finding_weight weight,
                       std::string reason, std::string change)
{
    all_.push_back(
        {weight, std::string(rule), place.id, place.line, std::move(reason), std::move(change)});
}

void finding_list::add(const finding_place& place, std::string_view rule, std::string reason,
                       std::string change)
{
    const check_rule* known = find_rule(rule);
    if (!known)
        throw std::logic_error("no rule " + std::string(rule));
    add(place, rule, known->weight, std::move(reason), std::move(change));
}

} // namespace gponflow
