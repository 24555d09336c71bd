// SPDX-License-Identifier: GPL-2.0-only
// Sorts the trace events of a running kernel by frame.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <vector>

#include "platform/api/tracepoint.h"

namespace gponflow {

/// The events of one hook call.
struct frame_events {
    std::vector<gpon_trace_record> events;
    bool lost = false; ///< some are missing: the kernel dropped them, or they came too early
    uint64_t mark = 0; ///< of event_frames when the first one came
};

/// The events of frames that several CPUs handle at the same time are mixed; the address of the
/// packet distinguishes them. Nothing marks the last event of a call: a frame is complete when its
/// CPU handles another one, or when no event of it comes between two calls of flush(). A frame
/// without an end stays open for many calls: a CPU that prints the log of a marked frame to a slow
/// console sends its events with long pauses. Only events that its path can have are joined to an
/// open frame: the kernel uses the address of a packet again at once.
class event_frames {
public:
    using frame_sink = std::function<void(const frame_events&)>;

    explicit event_frames(frame_sink take) : take_(std::move(take)) {}

    /// Frames whose first event comes from now on have this mark.
    void set_mark(uint64_t mark) { mark_ = mark; }

    /// Takes the next event of a CPU; `gap`: the kernel dropped events of this CPU before it.
    void event(const gpon_trace_record& record, int cpu, bool gap);

    /// Calls of flush() after which a frame without events and without an end is passed on.
    static constexpr unsigned most_quiet_reads = 100;

    /// The same for a frame that passes upstream to the ANI: the module prints its log before it
    /// drops the frame for lack of a queue. At 100 ms each they are enough for its two lines of
    /// 140 characters on a console of 9600 bit/s, which take 150 ms.
    static constexpr unsigned queue_quiet_reads = 5;

    /// Passes on the frames that ended before the last call of this function, and those whose end
    /// does not come. Call it after each read of events: the last event of a frame may arrive just
    /// after a read.
    void flush();

    /// Passes on all frames: no more events come.
    void finish();

private:
    struct open_frame {
        frame_events of;
        const void* packet;
        int cpu;
        bool ended = false;
        unsigned quiet_reads = 0; ///< calls of flush() since the last event
    };
    using place = std::list<open_frame>::iterator;

    [[nodiscard]] place frame_of(const gpon_trace_record& record, int cpu);
    [[nodiscard]] bool is_learnt_frame(const open_frame& one,
                                       const gpon_trace_record& record) const;
    void add_learning(const gpon_trace_record& record, int cpu);
    void pass_on_torn(int cpu);
    template <typename Chosen> void pass_on(Chosen is_chosen);

    frame_sink take_;
    uint64_t mark_ = 0;
    std::list<open_frame> open_; ///< in the order of their beginning
};

} // namespace gponflow
