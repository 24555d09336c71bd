// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/active_filter.h"

#include <tuple>

#include "tool/live/module_file.h"
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

bool active_filter::clear()
{
    backend* target = target_.release();
    try {
        // Without a result there is no module that could have the filter.
        std::ignore = send_line(*target, trace_off_line);
        return true;
    } catch (const refusal&) {
        return !is_module_loaded();
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
