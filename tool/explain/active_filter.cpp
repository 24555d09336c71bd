// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/active_filter.h"

#include <tuple>

namespace gponflow {

active_filter::active_filter(captured_run& run, const trace_filter& filter) : run_(run)
{
    for (const std::string& line : lines_of(filter))
        is_set_ = run_.query(line).has_value() && is_set_;
}

active_filter::~active_filter()
{
    try {
        std::ignore = run_.query(trace_off_line);
    } catch (const refusal&) {
        // The module is gone, and the filter with it.
    }
}

} // namespace gponflow
