// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/transcript.h"

#include <ostream>

#include "tool/scenario/mask_lines.h"
#include "tool/text/escape.h"

namespace gponflow {

void transcript::command(std::string_view text)
{
    line("> ", text);
}

void transcript::log(std::string_view text)
{
    for (size_t end = text.find('\n'); end != text.npos; end = text.find('\n')) {
        log_line_ += text.substr(0, end);
        write_log_line();
        text.remove_prefix(end + 1);
    }
    log_line_ += text;
}

void transcript::call(std::string_view text)
{
    line("@ ", escape(text));
}

void transcript::result(std::string_view text)
{
    line("= ", text);
}

void transcript::failed_expectation(std::string_view expected, std::string_view got)
{
    line("! expected ", std::string(expected) + ", got " + std::string(got));
}

void transcript::echo(std::string_view text)
{
    line("", text);
}

void transcript::flush()
{
    end_log_line();
    to_.flush();
}

void transcript::write_log_line()
{
    to_ << "| " << escape(mask_lines_ ? mask_line_numbers(log_line_) : log_line_) << '\n';
    log_line_.clear();
}

void transcript::end_log_line()
{
    if (!log_line_.empty())
        write_log_line();
}

void transcript::line(std::string_view mark, std::string_view text)
{
    end_log_line();
    to_ << mark << text << '\n';
}

} // namespace gponflow
