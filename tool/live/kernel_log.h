// SPDX-License-Identifier: GPL-2.0-only
// What the module says, read from the kernel log.
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

/// Follows /dev/kmsg from the moment of its making. Needs root.
class kernel_log {
public:
    kernel_log(); ///< Throws refusal.
    ~kernel_log();
    kernel_log(const kernel_log&) = delete;
    kernel_log& operator=(const kernel_log&) = delete;

    /// Hands on every line that came since the last call, in order, without its line feed. True
    /// when the kernel has dropped lines that were not read yet.
    bool drain(const std::function<void(std::string_view)>& line);

    /// The same for what is there by now, without a wait for a line that is not complete.
    bool read_available(const std::function<void(std::string_view)>& line);

    /// Readable when there is something to read.
    int number() const { return log_.get(); }

private:
    enum class reading { line, nothing, lost };
    reading read_line(std::string& text);
    void write_marker();

    descriptor log_;
    std::string rate_limit_; ///< of writers, as it was before
    unsigned long marker_ = 0;
};

} // namespace gponflow
