// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "tool/live/descriptor.h"
#include "tool/live/operator_lines.h"
#include "tool/scenario/backend.h"

namespace gponflow {

/// The module's trace filter during the lifetime of this object. It must not stay set afterwards:
/// every packet would be compared with it. One process at a time has such an object, because the
/// module has one filter; a filter that an operator has set is replaced.
class active_filter {
public:
    /// Sets the filter. Nothing if there is no module that could take it. Throws refusal if another
    /// process has such an object, and where the backend does.
    [[nodiscard]] static std::optional<active_filter> open(backend& target,
                                                           const trace_filter& filter);

    /// Removes the filter before the object ends. False if the module still has it.
    [[nodiscard]] bool clear();

private:
    struct clearer {
        void operator()(backend* target) const;
    };

    active_filter(descriptor lock, backend& target) : lock_(std::move(lock)), target_(&target) {}

    descriptor lock_; ///< released after the filter is removed; the kernel does so at a kill, too
    std::unique_ptr<backend, clearer> target_;
};

} // namespace gponflow
