// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/kernel_log.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>

#include "tool/scenario/backend.h"
#include "tool/text/pattern.h"

namespace gponflow {

namespace {

constexpr const char* rate_limit_file = "/proc/sys/kernel/printk_devkmsg";
constexpr int marker_milliseconds = 10000;

std::string marker_text(unsigned long number)
{
    return "gponflow: " + std::to_string(getpid()) + "." + std::to_string(number);
}

// The fourth field of the head is "c" for text that continues a line but has a record of its own.
bool is_continuation(std::string_view head)
{
    for (int field = 0; field < 3; ++field) {
        const size_t comma = head.find(',');
        if (comma == std::string_view::npos)
            return false;
        head.remove_prefix(comma + 1);
    }
    return head.substr(0, head.find(',')) == "c";
}

std::string without_escapes(std::string_view escaped)
{
    std::string text;
    for (size_t i = 0; i < escaped.size(); ++i) {
        unsigned value = 0;
        if (escaped.substr(i, 2) == "\\x" && i + 4 <= escaped.size() &&
            std::from_chars(&escaped[i + 2], &escaped[i + 2] + 2, value, 16).ptr ==
                &escaped[i + 2] + 2) {
            text += static_cast<char>(value);
            i += 3;
        } else {
            text += escaped[i];
        }
    }
    return text;
}

} // namespace

bool read_log_record(std::string_view record, log_record& read)
{
    const size_t start = record.find(';');
    if (start == std::string_view::npos)
        return false;
    read.continues = is_continuation(record.substr(0, start));
    record.remove_prefix(start + 1);
    read.text = without_escapes(record.substr(0, record.find('\n')));
    return true;
}

bool is_other_kernel_line(std::string_view text)
{
    static const pattern chatter(
        R"(^(gpon_flow: (loading out-of-tree|module (license|verification))|)"
        R"(Disabling lock debugging|CPU: \d|Hardware name: |Call [Tt]race:|Workqueue: |)"
        R"( ?</?(TASK|IRQ)>|(RIP|RSP|Code|RAX|RDX|RBP|R10|R13): |)"
        R"( +(\? )?[\w.]+\+0x[0-9a-f]+/0x[0-9a-f]+|)"
        R"((?!gpon)[A-Za-z][\w.-]*: ).*)");
    return chatter.match(text).has_value();
}

void module_lines::add(const log_record& record)
{
    if (is_other_kernel_line(record.text)) {
        interrupted_ = true;
        return;
    }
    if (record.continues && interrupted_ && last_) {
        *last_ += record.text;
    } else {
        end();
        last_ = record.text;
    }
    interrupted_ = false;
}

void module_lines::end()
{
    if (last_)
        line_(*last_);
    last_.reset();
}

kernel_log::kernel_log() : log_(open("/dev/kmsg", O_RDWR | O_NONBLOCK | O_CLOEXEC))
{
    if (!log_ || lseek(log_.get(), 0, SEEK_END) < 0)
        throw refusal(std::string("cannot read /dev/kmsg: ") + std::strerror(errno));
    // The rate limit must not drop the markers that end the lines of a command.
    std::ifstream(rate_limit_file) >> rate_limit_;
    std::ofstream(rate_limit_file) << "on\n";
}

kernel_log::~kernel_log()
{
    if (!rate_limit_.empty())
        std::ofstream(rate_limit_file) << rate_limit_ << '\n';
}

// The marker also ends a line that the module left open, which cannot be read before.
void kernel_log::write_marker()
{
    const std::string text = marker_text(++marker_) + '\n';
    if (write(log_.get(), text.data(), text.size()) < 0)
        throw refusal(std::string("cannot write /dev/kmsg: ") + std::strerror(errno));
}

kernel_log::reading kernel_log::read_record(log_record& record)
{
    std::array<char, 8192> buffer;
    for (;;) {
        const ssize_t length = read(log_.get(), buffer.data(), buffer.size());
        if (length < 0 && errno == EAGAIN)
            return reading::nothing;
        if (length < 0 && errno == EPIPE)
            return reading::lost;
        if (length < 0)
            throw refusal(std::string("cannot read /dev/kmsg: ") + std::strerror(errno));
        if (read_log_record({buffer.data(), static_cast<size_t>(length)}, record))
            return reading::record;
    }
}

bool kernel_log::drain(const std::function<void(std::string_view)>& line)
{
    write_marker();
    bool lost = false;
    module_lines lines(line);
    for (log_record record;;) {
        const reading result = read_record(record);
        if (result == reading::nothing) {
            pollfd wait = {log_.get(), POLLIN, 0};
            if (poll(&wait, 1, marker_milliseconds) <= 0)
                throw refusal("a line written to the kernel log does not appear in it");
        } else if (result == reading::lost) {
            lost = true;
        } else if (record.text == marker_text(marker_)) {
            lines.end();
            return lost;
        } else {
            lines.add(record);
        }
    }
}

bool kernel_log::read_available(const std::function<void(std::string_view)>& line)
{
    bool lost = false;
    module_lines lines(line);
    log_record record;
    for (reading result = read_record(record); result != reading::nothing;
         result = read_record(record)) {
        if (result == reading::lost)
            lost = true;
        else
            lines.add(record);
    }
    lines.end();
    return lost;
}

} // namespace gponflow
