// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/walk_splitter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tool/text/pattern.h"

namespace gponflow {

namespace {

constexpr std::array<std::string_view, 4> directions = {
    "gpon_pkt_upstream_uni", "gpon_pkt_upstream_ani", "gpon_pkt_downstream_ani",
    "gpon_pkt_handle_after_fwd_done"};

bool holds(std::string_view text, std::string_view part)
{
    return text.find(part) != text.npos;
}

bool ends_walk(std::string_view function, std::string_view text)
{
    if (function == "gpon_pkt_general_forward")
        return holds(text, "func_ret = 0,ret_val=3,recurse_num =0");
    return function == "gpon_pkt_general_flow_func";
}

} // namespace

bool walk_splitter::belongs_to_ended(std::string_view function, std::string_view text) const
{
    if (std::ranges::find(directions, function) != directions.end())
        return true;
    return function == "gpon_pkt_general_flow_func" &&
           (holds(text, "gpon_pkt_handle_after_fwd_done") || holds(text, "generate_trace"));
}

void walk_splitter::line(std::string_view text)
{
    static const pattern shape(R"(^\*\*\*?[A-Z]+\*\*\*?(?:Enter )?\[?(\w+)\]? ?\[\d+\](.*)$)");
    // Some messages of the module end in a carriage return, which the pattern does not match.
    if (text.ends_with('\r'))
        text.remove_suffix(1);
    // The one message of a walk without a level tag.
    const bool too_deep = holds(text, "recurse_num is MAX_RECURSION_NUM");
    const std::optional<pattern_match> found = shape.match(text);
    if (!too_deep && !found)
        return;
    const std::string function = too_deep ? "" : (*found)[1];
    const std::string said = too_deep ? "" : (*found)[2];
    if (ended_ && !belongs_to_ended(function, said))
        flush();
    log_ += std::string(text) + '\n';
    ended_ = ended_ || ends_walk(function, said);
}

void walk_splitter::flush()
{
    ended_ = false;
    if (const std::string whole = std::exchange(log_, {}); !whole.empty())
        take_(whole);
}

void walk_splitter::drop()
{
    ended_ = false;
    log_.clear();
}

} // namespace gponflow
