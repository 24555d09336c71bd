// SPDX-License-Identifier: GPL-2.0-only
// Where the trace events of a module come from.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/api/tracepoint.h"

namespace gponflow {

/// All functions may throw refusal.
class event_source {
public:
    struct event {
        gpon_trace_record record; ///< the packet is an address of the kernel, for comparison only
        int cpu;
        bool gap;                 ///< the kernel dropped events of this CPU before this one
        uint64_t nanoseconds = 0; ///< of trace_clock.h
    };
    /// Returns false to end the reading: events that are read already are then lost.
    using sink = std::function<bool(const event&)>;

    virtual ~event_source() = default;
    event_source(const event_source&) = delete;
    event_source& operator=(const event_source&) = delete;

    /// Passes on the events that have occurred since the last call, by time. This does not end
    /// while events come as fast as they are read.
    virtual void read(const sink& take) = 0;

    /// The same for events up to a time, also if others come as fast as they are read. The first
    /// events after it may be lost.
    void read_until(uint64_t nanoseconds, const sink& take)
    {
        read([&](const event& one) { return one.nanoseconds <= nanoseconds && take(one); });
    }

    /// Events that the kernel has dropped so far. An unload of the module clears it.
    [[nodiscard]] virtual uint64_t dropped() const = 0;

protected:
    event_source() = default;
};

} // namespace gponflow
