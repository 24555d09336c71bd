// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/active_filter.h"

#include <cerrno>
#include <cstring>
#include <tuple>

#include <fcntl.h>
#include <sys/file.h>

#include "tool/live/module_file.h"
#include "tool/live/tracefs_library.h"
#include "tool/scenario/control.h"

namespace gponflow {

namespace {

// tracefs has the same folder in every container; proc and sysfs may be others there.
descriptor lock_filter()
{
    const std::unique_ptr<char, decltype(&tracefs_put_tracing_file)> folder(
        tracefs_get_tracing_file("instances"), &tracefs_put_tracing_file);
    descriptor lock(folder ? ::open(folder.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
    if (!lock)
        throw refusal(!folder || errno == ENOENT
                          ? "cannot trace: this kernel has no trace buffers (tracefs)"
                          : std::string("cannot open the folder of the trace buffers: ") +
                                std::strerror(errno));
    if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0)
        return lock;
    if (errno == EWOULDBLOCK)
        throw refusal("another gponflow traces frames: the module has one filter");
    throw refusal(std::string("cannot lock the trace filter: ") + std::strerror(errno));
}

} // namespace

void active_filter::clearer::operator()(backend* target) const
{
    try {
        std::ignore = send_line(*target, trace_off_line);
    } catch (const refusal&) {
        // The module is gone, and the filter with it.
    }
}

bool active_filter::clear()
{
    backend* target = target_.release();
    try {
        // Without a result there is no module that could have the filter.
        return send_line(*target, trace_off_line).value_or(0) >= 0;
    } catch (const refusal&) {
        return !is_module_loaded();
    }
}

std::optional<active_filter> active_filter::open(backend& target, const trace_filter& filter)
{
    active_filter active(lock_filter(), target);
    for (const std::string& line : lines_of(filter)) {
        const std::optional<long> result = send_line(target, line);
        if (!result)
            return {};
        if (*result < 0)
            throw refusal(std::string("cannot set the trace filter: ") +
                          std::strerror(static_cast<int>(-*result)));
    }
    return active;
}

} // namespace gponflow
