// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/trace_device.h"

#include <chrono>
#include <memory>
#include <ostream>
#include <string>

#include "tool/explain/frame_follower.h"
#include "tool/live/active_filter.h"
#include "tool/live/event_stream.h"
#include "tool/live/kernel_reader.h"
#include "tool/live/module_file.h"
#include "tool/live/stop_signals.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr int quiet_milliseconds = 100;

// One trace of the running kernel.
class device_trace {
public:
    device_trace(const trace_limits& limits, std::ostream& out, const palette& colours)
        : limits_(limits),
          stream_(event_stream::open({.buffer_kilobytes = limits.buffer_kilobytes})),
          frames_(limits, *stream_, make_kernel_reader(), out, colours)
    {
    }

    // Frames that the filter of another program, or a part of this one, has marked.
    void skip() { stream_->skip(); }

    // Prints the frames until a limit is reached. Returns the reason why it ended.
    std::string follow(stop_signals& stop, const std::ostream& out)
    {
        std::string why;
        while (out && why.empty()) {
            const bool stopped = stop.wait(-1, quiet_milliseconds);
            const bool ended =
                frames_.look([&] { return !out || stop.wait(-1, 0) || is_time_over(); });
            // After an end within a look, events are missing before those of another look.
            if (stopped || ended || frames_.is_done() || is_time_over())
                break;
            if (!stream_->is_of_loaded_module())
                why = "the module was unloaded; its last frames may be missing";
        }
        frames_.finish();
        return why;
    }

    uint64_t frames() const { return frames_.frames(); }

    uint64_t lost() const { return frames_.lost(); }

private:
    bool is_time_over() const
    {
        const auto passed = std::chrono::steady_clock::now() - start_;
        return limits_.seconds != 0 && passed >= std::chrono::seconds(limits_.seconds);
    }

    const trace_limits& limits_;
    std::unique_ptr<event_stream> stream_;
    frame_follower frames_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace

exit_status trace_device(backend& device, const trace_filter& filter, const trace_limits& limits,
                         std::ostream& out, std::ostream& diagnostics, const palette& colours)
{
    if (!is_module_loaded())
        throw refusal("the module is not loaded");
    device_trace trace(limits, out, colours);
    // No signal ends the process while the filter is set.
    stop_signals stop;
    auto active = active_filter::open(device, filter);
    if (!active)
        throw refusal("the module is not loaded");
    trace.skip();
    diagnostics << "gponflow: tracing; press Ctrl-C to stop" << std::endl;
    if (const std::string why = trace.follow(stop, out); !why.empty())
        diagnostics << "gponflow: " << why << '\n';
    const bool cleared = active->clear();
    diagnostics << "gponflow: " << counted(trace.frames(), "frame")
                << (cleared ? "; the filter is off\n"
                            : "; the filter is still set: use gponflow set trace off\n");
    if (trace.lost() != 0)
        diagnostics << "gponflow: the kernel dropped " << counted(trace.lost(), "trace event")
                    << ": frames are missing or incomplete; use a larger --buffer or a narrower "
                       "filter\n";
    diagnostics << std::flush;
    return cleared ? status_ok : status_unsupported;
}

} // namespace gponflow
