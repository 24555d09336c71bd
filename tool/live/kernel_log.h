// SPDX-License-Identifier: GPL-2.0-only
// The log of the module, read from the kernel log.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tool/live/descriptor.h"
#include "tool/live/log_record.h"

namespace gponflow {

/// Reads /dev/kmsg from open() on. Requires root.
class kernel_log {
public:
    [[nodiscard]] static kernel_log open(); ///< Throws refusal.
    ~kernel_log();
    kernel_log(kernel_log&&) = default;
    kernel_log& operator=(kernel_log&&) = delete;

    /// Passes on every line since the last call, in order, without its line feed. Returns true if
    /// the kernel dropped unread lines.
    [[nodiscard]] bool drain(const std::function<void(std::string_view)>& line);

private:
    explicit kernel_log(descriptor log) : log_(std::move(log)) {}

    struct reading {
        std::optional<log_record> record; ///< none if no record is there
        bool lost = false;                ///< the kernel dropped unread records
    };
    [[nodiscard]] reading read_record();
    void write_marker();

    descriptor log_;
    std::string rate_limit_; ///< previous setting for writers
    unsigned long marker_ = 0;
};

} // namespace gponflow
