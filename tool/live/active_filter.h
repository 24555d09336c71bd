// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <memory>
#include <optional>

#include "tool/live/operator_lines.h"
#include "tool/scenario/backend.h"

namespace gponflow {

/// The module's trace filter during the lifetime of this object. It must not stay set afterwards:
/// every packet would be compared with it.
class active_filter {
public:
    /// Sets the filter. Nothing if there is no module that could take it. Throws refusal where the
    /// backend does.
    [[nodiscard]] static std::optional<active_filter> open(backend& target,
                                                           const trace_filter& filter);

    /// Removes the filter before the object ends. False if the module still has it.
    [[nodiscard]] bool clear();

private:
    struct clearer {
        void operator()(backend* target) const;
    };

    explicit active_filter(backend& target) : target_(&target) {}

    std::unique_ptr<backend, clearer> target_;
};

} // namespace gponflow
