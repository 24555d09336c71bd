// SPDX-License-Identifier: GPL-2.0-only
#include "tool/check/finding_list.h"

#include <stdexcept>

namespace gponflow {

void finding_list::add(const me_instance& entity, std::string_view rule, std::string reason,
                       std::string change)
{
    add(entity.id, entity.line, rule, std::move(reason), std::move(change));
}

void finding_list::add(const me_instance& entity, std::string_view rule, finding_weight weight,
                       std::string reason, std::string change)
{
    all_.push_back(
        {weight, std::string(rule), entity.id, entity.line, std::move(reason), std::move(change)});
}

void finding_list::add(me_id id, unsigned line, std::string_view rule, std::string reason,
                       std::string change)
{
    const check_rule* known = find_rule(rule);
    if (!known)
        throw std::logic_error("no rule " + std::string(rule));
    all_.push_back(
        {known->weight, std::string(rule), id, line, std::move(reason), std::move(change)});
}

} // namespace gponflow
