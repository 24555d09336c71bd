// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/trace_device.h"

#include <chrono>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

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

// The entities of the module, as of the last look.
class current_entities {
public:
    current_entities() { refresh(); }

    // Reads them again if commands have changed them since the last look.
    void refresh()
    {
        changed_before_ = std::exchange(changed_, false);
        try {
            read();
        } catch (const refusal&) {
            // The last frames may be printed after the module was unloaded: its entities are then
            // those of the look before.
            if (!is_read_)
                throw;
        }
    }

    [[nodiscard]] const line_model& get() const { return entities_; }

    // Whether they changed in this look or in the one before, in which a frame that is printed now
    // may have come. They may then be newer than the frame.
    [[nodiscard]] bool changed_lately() const { return changed_ || changed_before_; }

private:
    void read()
    {
        const std::optional<uint64_t> store = reader_->state().store;
        if (is_read_ && store && store == store_)
            return;
        entities_ = model_of(reader_->instances());
        changed_ = is_read_ && store != store_;
        is_read_ = true;
        store_ = store;
    }

    std::unique_ptr<module_reader> reader_ = make_kernel_reader();
    line_model entities_;
    std::optional<uint64_t> store_; // before they were read
    bool is_read_ = false;
    bool changed_ = false;
    bool changed_before_ = false;
};

class frame_printer {
public:
    frame_printer(const trace_limits& limits, std::ostream& out, const palette& colours)
        : limits_(limits), out_(out), colours_(colours)
    {
    }

    uint64_t frames() const { return frames_; }

    bool is_done() const { return limits_.frames != 0 && frames_ >= limits_.frames; }

    // Called when the events of a look have been read, before its frames are printed.
    void begin_look() { entities_.refresh(); }

    void print(const frame_events& frame, uint64_t lost)
    {
        if (is_done())
            return;
        ++frames_;
        const walk_record walk = read_events(frame.events, entities_.get(), nullptr, frame.lost);
        const bool changed = entities_.changed_lately();
        if (limits_.json) {
            print_trace_json({.number = frames_,
                              .kind = kind_of_direction(walk.fwd_flag),
                              .walk = walk,
                              .frame = {},
                              .lost_events = lost,
                              .entities_changed = changed},
                             out_);
            out_ << std::flush;
            return;
        }
        out_ << colours_.heading("frame " + std::to_string(frames_)) << ", ";
        print_marked_frame(walk, entities_.get(), out_, colours_);
        if (changed)
            out_ << "Managed entities changed at the time of this frame: values of filters and "
                    "mappers may be newer than its path.\n";
        out_ << std::endl;
    }

private:
    const trace_limits& limits_;
    std::ostream& out_;
    const palette& colours_;
    current_entities entities_;
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
                why = "the module was unloaded; its last frames may be missing";
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
        std::vector<event_stream::event> events;
        stream_->read([&](const event_stream::event& one) { events.push_back(one); });
        printer_.begin_look();
        for (const event_stream::event& one : events)
            frames_.event(one.record, one.cpu, one.gap);
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
