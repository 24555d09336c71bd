// SPDX-License-Identifier: GPL-2.0-only
// The log of the module, read from the kernel log.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "tool/live/descriptor.h"

namespace gponflow {

/// The text of one record as /dev/kmsg gives it ("PRIORITY,SEQUENCE,TIME,FLAGS;TEXT\n ..."), with
/// its \xNN escapes undone. False when the record has another form.
bool read_log_record(std::string_view record, std::string& text);

/// True for lines that the kernel itself logs around the module: notes on loading, and the stack
/// dump of an unknown call kind.
bool is_kernel_chatter(std::string_view text);

/// Reads /dev/kmsg from its construction on. Requires root.
class kernel_log {
public:
    kernel_log(); ///< Throws refusal.
    ~kernel_log();
    kernel_log(const kernel_log&) = delete;
    kernel_log& operator=(const kernel_log&) = delete;

    /// Passes on every line since the last call, in order, without its line feed. Returns true if
    /// the kernel dropped unread lines.
    bool drain(const std::function<void(std::string_view)>& line);

    /// The same without waiting for an incomplete line.
    bool read_available(const std::function<void(std::string_view)>& line);

    /// Descriptor to poll for new lines.
    int number() const { return log_.get(); }

private:
    enum class reading { line, nothing, lost };
    reading read_line(std::string& text);
    void write_marker();

    descriptor log_;
    std::string rate_limit_; ///< previous setting for writers
    unsigned long marker_ = 0;
};

} // namespace gponflow
