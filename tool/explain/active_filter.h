// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include "tool/live/operator_lines.h"
#include "tool/scenario/captured_run.h"

namespace gponflow {

/// The module's trace filter during the lifetime of this object. It must not stay set afterwards:
/// every packet would be compared with it.
class active_filter {
public:
    /// Throws refusal where the backend does.
    active_filter(captured_run& run, const trace_filter& filter);
    ~active_filter();
    active_filter(const active_filter&) = delete;
    active_filter& operator=(const active_filter&) = delete;

    /// False when there is no module that could take the filter.
    [[nodiscard]] bool is_set() const { return is_set_; }

private:
    captured_run& run_;
    bool is_set_ = true;
};

} // namespace gponflow
