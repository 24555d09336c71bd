// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/trace_device.h"

#include <chrono>
#include <ostream>
#include <string>
#include <utility>

#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/trace_output.h"
#include "tool/live/active_filter.h"
#include "tool/live/event_frames.h"
#include "tool/live/event_stream.h"
#include "tool/live/kernel_reader.h"
#include "tool/live/module_file.h"
#include "tool/live/stop_signals.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr int quiet_milliseconds = 100;

class frame_printer {
public:
    frame_printer(const trace_limits& limits, std::ostream& out, const palette& colours)
        : limits_(limits), out_(out), colours_(colours)
    {
    }

    uint64_t frames() const { return frames_; }

    bool is_done() const { return limits_.frames != 0 && frames_ >= limits_.frames; }

    // Commands may have changed the entities since the last look; a burst of frames is one look.
    void forget_entities() { outdated_ = true; }

    void print(const frame_events& frame, uint64_t lost)
    {
        if (is_done())
            return;
        ++frames_;
        read_entities();
        walk_record walk = read_events(frame.events, entities_);
        walk.incomplete = walk.incomplete || frame.lost;
        if (limits_.json) {
            print_trace_json({frames_, kind_of_direction(walk.fwd_flag), walk, {}, lost}, out_);
            out_ << std::flush;
            return;
        }
        out_ << colours_.heading("frame " + std::to_string(frames_)) << ", ";
        print_marked_frame(walk, entities_, out_, colours_);
        out_ << std::endl;
    }

private:
    // The last frames may be printed after the module was unloaded: its entities are then those of
    // the look before.
    void read_entities()
    {
        if (!std::exchange(outdated_, false))
            return;
        try {
            entities_ = model_of(reader_->instances());
        } catch (const refusal&) {
            if (is_module_loaded())
                throw;
        }
    }

    const trace_limits& limits_;
    std::ostream& out_;
    const palette& colours_;
    std::unique_ptr<module_reader> reader_ = make_kernel_reader();
    line_model entities_;
    bool outdated_ = true; ///< the entities
    uint64_t frames_ = 0;
};

// One trace of the running kernel.
class device_trace {
public:
    device_trace(const trace_limits& limits, std::ostream& out, const palette& colours)
        : limits_(limits), printer_(limits, out, colours),
          stream_(event_stream::open({.buffer_kilobytes = limits.buffer_kilobytes})),
          frames_([this](const frame_events& one) { printer_.print(one, lost_); })
    {
    }

    // Prints the frames until a limit is reached. Returns the reason why it ended.
    std::string follow(const std::ostream& out)
    {
        stop_signals stop;
        std::string why;
        while (out && why.empty()) {
            const bool stopped = stop.wait(-1, quiet_milliseconds);
            look();
            if (stopped || printer_.is_done() || is_time_over())
                break;
            if (!is_module_loaded() || !stream_->is_enabled())
                why = "the module was unloaded";
        }
        frames_.finish();
        return why;
    }

    uint64_t frames() const { return printer_.frames(); }

    uint64_t lost() const { return lost_; }

private:
    void look()
    {
        lost_ = stream_->dropped();
        printer_.forget_entities();
        stream_->read(
            [&](const event_stream::event& one) { frames_.event(one.record, one.cpu, one.gap); });
        frames_.flush();
        lost_ = stream_->dropped();
    }

    bool is_time_over() const
    {
        const auto passed = std::chrono::steady_clock::now() - start_;
        return limits_.seconds != 0 && passed >= std::chrono::seconds(limits_.seconds);
    }

    const trace_limits& limits_;
    frame_printer printer_;
    std::unique_ptr<event_stream> stream_;
    event_frames frames_;
    uint64_t lost_ = 0;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace

exit_status trace_device(backend& device, const trace_filter& filter, const trace_limits& limits,
                         std::ostream& out, std::ostream& diagnostics, const palette& colours)
{
    if (!is_module_loaded())
        throw refusal("the module is not loaded");
    device_trace trace(limits, out, colours);
    const auto active = active_filter::open(device, filter);
    if (!active)
        throw refusal("the module is not loaded");
    diagnostics << "gponflow: tracing; press Ctrl-C to stop" << std::endl;
    if (const std::string why = trace.follow(out); !why.empty())
        diagnostics << "gponflow: " << why << '\n';
    diagnostics << "gponflow: " << counted(trace.frames(), "frame") << "; the filter is off\n";
    if (trace.lost() != 0)
        diagnostics << "gponflow: the kernel dropped " << counted(trace.lost(), "trace event")
                    << ": frames are missing or incomplete; use a larger --buffer or a narrower "
                       "filter\n";
    diagnostics << std::flush;
    return status_ok;
}

} // namespace gponflow
