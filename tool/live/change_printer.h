// SPDX-License-Identifier: GPL-2.0-only
// Prints the changes of the module, and how many are missing between them.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "tool/live/module_records.h"

namespace gponflow {

struct change_format {
    bool json = false;  ///< one document a line
    uint64_t count = 0; ///< changes to print; 0: no limit
};

/// Whether a change has a later number than the other one. Numbers wrap around.
[[nodiscard]] bool is_later_number(uint32_t number, uint32_t other);

/// Numbers wrap around.
class change_printer {
public:
    /// last: number of the last change before the first one that can come, if it is known.
    change_printer(const change_format& format, std::optional<uint32_t> last, std::ostream& out)
        : format_(format), last_(last), out_(out)
    {
    }

    void take(const module_change& change);

    /// All changes up to this number have been taken, or are missing. Returns false if the number
    /// of the last one is not known, so nobody knows whether some are missing.
    [[nodiscard]] bool end_at(std::optional<uint32_t> number);

    /// Whether all changes up to this number have been taken, or are known to be missing.
    [[nodiscard]] bool has_reached(uint32_t number) const;

    [[nodiscard]] bool is_complete() const
    {
        return format_.count != 0 && printed_ >= format_.count;
    }

private:
    void print_missing(uint32_t count);

    change_format format_;
    std::optional<uint32_t> last_;
    std::ostream& out_;
    uint64_t printed_ = 0;
};

} // namespace gponflow
