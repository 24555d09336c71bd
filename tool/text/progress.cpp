// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/progress.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gponflow {

namespace {

constexpr std::chrono::milliseconds pause_between(100);
constexpr size_t bar_width = 30;

// A terminal that cannot rewrite a line would fill with progress lines.
bool can_rewrite(int descriptor)
{
    const char* terminal = std::getenv("TERM");
    return terminal && std::string_view(terminal) != "dumb" && isatty(descriptor) == 1;
}

size_t width_of(int descriptor)
{
    winsize size = {};
    ioctl(descriptor, TIOCGWINSZ, &size);
    return size.ws_col ? size.ws_col : 80;
}

// A progress line that cannot be written is not an error.
void put(int descriptor, const std::string& text)
{
    [[maybe_unused]] const ssize_t written = write(descriptor, text.data(), text.size());
}

uint64_t size_of(std::FILE* stream)
{
    struct stat about = {};
    if (fstat(fileno(stream), &about) != 0 || !S_ISREG(about.st_mode))
        return 0;
    return static_cast<uint64_t>(about.st_size);
}

} // namespace

progress_line::progress_line(std::string label, uint64_t total, int descriptor,
                             std::chrono::milliseconds silence)
    : label_(std::move(label)), total_(total), descriptor_(descriptor),
      next_(std::chrono::steady_clock::now() + silence)
{
    if (!can_rewrite(descriptor_))
        next_ = std::chrono::steady_clock::time_point::max();
}

progress_line::~progress_line()
{
    if (shown_)
        put(descriptor_, "\r\033[K");
}

bool progress_line::due() const
{
    return std::chrono::steady_clock::now() >= next_;
}

void progress_line::show(uint64_t done)
{
    if (total_ == 0 || !due())
        return;
    const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
    const auto filled = static_cast<size_t>(part * static_cast<double>(bar_width));
    show_text("[" + std::string(filled, '#') + std::string(bar_width - filled, ' ') + "] " +
              std::to_string(static_cast<int>(part * 100)) + "% of " + label_);
}

void progress_line::show_text(std::string text)
{
    if (!due())
        return;
    // A character in the last column wraps on some terminals.
    text = text.substr(0, width_of(descriptor_) - 1);
    put(descriptor_, "\r" + text + "\033[K");
    shown_ = true;
    next_ = std::chrono::steady_clock::now() + pause_between;
}

reading_progress::reading_progress(const std::string& label, std::FILE* stream)
    : stream_(stream), line_(label, size_of(stream))
{
}

} // namespace gponflow
