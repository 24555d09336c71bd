// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/events.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "platform/host/format.h"

namespace gpon::host {
namespace {

std::mutex sink_lock;
event_sink sink;
// Separate from the sink: without a listener, prints of the module then order no threads.
std::atomic<bool> sink_set = false;

} // namespace

void set_sink(event_sink next)
{
    const std::lock_guard held(sink_lock);
    sink = std::move(next);
    sink_set.store(static_cast<bool>(sink), std::memory_order_relaxed);
}

bool recording()
{
    return sink_set.load(std::memory_order_relaxed);
}

void record(event::kind type, std::string text)
{
    const std::lock_guard held(sink_lock);
    if (sink)
        sink({type, std::move(text)});
}

void record_call(const char* text, ...)
{
    if (!recording())
        return;
    va_list arguments;
    va_start(arguments, text);
    record(event::call, format(text, arguments));
    va_end(arguments);
}

} // namespace gpon::host
