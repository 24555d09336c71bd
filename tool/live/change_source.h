// SPDX-License-Identifier: GPL-2.0-only
// Where the changes of a module come from.
#pragma once

#include <cstdint>
#include <optional>

#include "tool/live/module_records.h"

namespace gponflow {

class change_source {
public:
    virtual ~change_source() = default;
    change_source(const change_source&) = delete;
    change_source& operator=(const change_source&) = delete;

    struct arrival {
        bool lost = false;     ///< the kernel dropped changes: the next number has a gap
        bool unloaded = false; ///< no more changes come, also if the module is loaded again
        bool more = false;     ///< changes have arrived that were not read
    };

    /// Passes on the changes that have arrived, a limited number of them. Throws refusal.
    [[nodiscard]] virtual arrival read(const change_sink& sink) = 0;

    /// Number of the last change so far. Nothing if the module does not say it, or is gone, also
    /// if it was loaded again.
    [[nodiscard]] virtual std::optional<uint32_t> current_number() = 0;

    /// Descriptor to poll for changes.
    [[nodiscard]] virtual int number() const = 0;

protected:
    change_source() = default;
    change_source(change_source&&) = default;
};

} // namespace gponflow
