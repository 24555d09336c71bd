// SPDX-License-Identifier: GPL-2.0-only
// Records of the kernel log, and the lines of the module among them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace gponflow {

/// One record of the kernel log.
struct log_record {
    std::string text;
    bool continues = false; ///< printed to continue a line
};

/// Reads a record as /dev/kmsg gives it ("PRIORITY,SEQUENCE,TIME,FLAGS;TEXT\n ..."), and undoes the
/// \xNN escapes of its text. Nothing when the record has another form.
[[nodiscard]] std::optional<log_record> read_log_record(std::string_view record);

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

} // namespace gponflow
