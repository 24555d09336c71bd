// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/kernel_log.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>

#include "tool/scenario/backend.h"

namespace gponflow {

namespace {

constexpr const char* rate_limit_file = "/proc/sys/kernel/printk_devkmsg";
constexpr int marker_milliseconds = 10000;

std::string marker_text(unsigned long number)
{
    return "gponflow: " + std::to_string(getpid()) + "." + std::to_string(number);
}

} // namespace

kernel_log kernel_log::open()
{
    kernel_log opened(descriptor(::open("/dev/kmsg", O_RDWR | O_NONBLOCK | O_CLOEXEC)));
    if (!opened.log_ || lseek(opened.log_.get(), 0, SEEK_END) < 0)
        throw refusal(std::string("cannot read /dev/kmsg: ") + std::strerror(errno));
    // The rate limit must not drop the markers that end the lines of a command.
    std::ifstream(rate_limit_file) >> opened.rate_limit_;
    std::ofstream(rate_limit_file) << "on\n";
    return opened;
}

kernel_log::~kernel_log()
{
    if (log_ && !rate_limit_.empty())
        std::ofstream(rate_limit_file) << rate_limit_ << '\n';
}

// The marker also ends a line that the module left open, which cannot be read before.
void kernel_log::write_marker()
{
    const std::string text = marker_text(++marker_) + '\n';
    if (write(log_.get(), text.data(), text.size()) < 0)
        throw refusal(std::string("cannot write /dev/kmsg: ") + std::strerror(errno));
}

kernel_log::reading kernel_log::read_record()
{
    std::array<char, 8192> buffer;
    for (;;) {
        const ssize_t length = read(log_.get(), buffer.data(), buffer.size());
        if (length < 0 && errno == EAGAIN)
            return {};
        if (length < 0 && errno == EPIPE)
            return {.record = {}, .lost = true};
        if (length < 0)
            throw refusal(std::string("cannot read /dev/kmsg: ") + std::strerror(errno));
        if (auto found = read_log_record({buffer.data(), static_cast<size_t>(length)}))
            return {.record = std::move(found)};
    }
}

bool kernel_log::drain(const std::function<void(std::string_view)>& line)
{
    write_marker();
    bool lost = false;
    module_lines lines(line);
    for (;;) {
        const reading next = read_record();
        if (next.lost) {
            lost = true;
        } else if (!next.record) {
            pollfd wait = {log_.get(), POLLIN, 0};
            if (poll(&wait, 1, marker_milliseconds) <= 0)
                throw refusal("a line written to the kernel log does not appear in it");
        } else if (next.record->text == marker_text(marker_)) {
            lines.end();
            return lost;
        } else {
            lines.add(*next.record);
        }
    }
}

} // namespace gponflow
