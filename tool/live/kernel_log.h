// SPDX-License-Identifier: GPL-2.0-only
// The log of the module, read from the kernel log.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tool/live/descriptor.h"

namespace gponflow {

/// One record of the kernel log.
struct log_record {
    std::string text;
    bool continues = false; ///< printed to continue a line
};

/// Reads a record as /dev/kmsg gives it ("PRIORITY,SEQUENCE,TIME,FLAGS;TEXT\n ..."), and undoes the
/// \xNN escapes of its text. False when the record has another form.
[[nodiscard]] bool read_log_record(std::string_view record, log_record& read);

/// True for lines that the kernel itself logs around and between those of the module: notes on
/// loading, the stack dump of an unknown call kind, and all lines that begin with the name of
/// another part of the kernel and a colon. The module and the soft ONU begin no line with such a
/// name, except with their own.
[[nodiscard]] bool is_other_kernel_line(std::string_view text);

/// Passes on the lines of the module and joins those that a line of the kernel cut in two.
class module_lines {
public:
    explicit module_lines(const std::function<void(std::string_view)>& line) : line_(line) {}

    void add(const log_record& record);
    void end(); ///< passes on the last line

private:
    const std::function<void(std::string_view)>& line_;
    std::optional<std::string> last_;
    bool interrupted_ = false; ///< the kernel printed after last_
};

/// Reads /dev/kmsg from its construction on. Requires root.
class kernel_log {
public:
    kernel_log(); ///< Throws refusal.
    ~kernel_log();
    kernel_log(const kernel_log&) = delete;
    kernel_log& operator=(const kernel_log&) = delete;

    /// Passes on every line since the last call, in order, without its line feed. Returns true if
    /// the kernel dropped unread lines.
    [[nodiscard]] bool drain(const std::function<void(std::string_view)>& line);

    /// The same without waiting for an incomplete line.
    [[nodiscard]] bool read_available(const std::function<void(std::string_view)>& line);

    /// Descriptor to poll for new lines.
    [[nodiscard]] int number() const { return log_.get(); }

private:
    enum class reading { record, nothing, lost };
    [[nodiscard]] reading read_record(log_record& record);
    void write_marker();

    descriptor log_;
    std::string rate_limit_; ///< previous setting for writers
    unsigned long marker_ = 0;
};

} // namespace gponflow
