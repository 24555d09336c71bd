// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/active_filter.h"

#include <tuple>

#include "tool/scenario/control.h"

namespace gponflow {

void active_filter::clearer::operator()(backend* target) const
{
    try {
        std::ignore = send_line(*target, trace_off_line);
    } catch (const refusal&) {
        // The module is gone, and the filter with it.
    }
}

std::optional<active_filter> active_filter::open(backend& target, const trace_filter& filter)
{
    active_filter active(target);
    for (const std::string& line : lines_of(filter))
        if (!send_line(target, line))
            return {};
    return active;
}

} // namespace gponflow
