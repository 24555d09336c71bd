// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/pattern.h"

#include <regex>

namespace gponflow {

namespace {

using match_results = std::match_results<std::string_view::const_iterator>;

pattern_match taken_from(const match_results& found)
{
    pattern_match taken;
    taken.position = static_cast<size_t>(found.position());
    taken.groups.assign(found.begin(), found.end());
    return taken;
}

} // namespace

struct pattern::compiled {
    std::regex expression;
};

pattern::pattern(const std::string& expression)
    : compiled_(std::make_unique<const compiled>(compiled{std::regex(expression)}))
{
}

pattern::~pattern() = default;

std::optional<pattern_match> pattern::match(std::string_view text) const
{
    match_results found;
    if (!std::regex_match(text.begin(), text.end(), found, compiled_->expression))
        return {};
    return taken_from(found);
}

std::optional<pattern_match> pattern::search(std::string_view text) const
{
    match_results found;
    if (!std::regex_search(text.begin(), text.end(), found, compiled_->expression))
        return {};
    return taken_from(found);
}

} // namespace gponflow
