// SPDX-License-Identifier: GPL-2.0-only
// Writes the transcript of a scenario line by line. The format is fixed, because
// recorded transcripts depend on it.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

namespace gponflow {

class transcript {
public:
    /// With mask_lines, source line numbers in log text print as 0.
    transcript(std::ostream& to, bool mask_lines) : to_(to), mask_lines_(mask_lines) {}

    /// "> TEXT", the start of a command.
    void command(std::string_view text);

    /// A piece of kernel log text: joined with the previous piece, each line after "| ".
    void log(std::string_view text);

    /// "@ TEXT", a platform call.
    void call(std::string_view text);

    /// "= TEXT", the outcome of a command.
    void result(std::string_view text);

    /// "! expected NAME=VALUE, got VALUE".
    void failed_expectation(std::string_view expected, std::string_view got);

    /// The text of an echo command as it is.
    void echo(std::string_view text);

    /// Ends log text without a line feed and flushes the stream.
    void flush();

private:
    void write_log_line();
    void end_log_line();
    void line(std::string_view mark, std::string_view text);

    std::ostream& to_;
    bool mask_lines_;
    std::string log_line_; ///< text since the last line feed
};

} // namespace gponflow
