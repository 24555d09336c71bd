// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/device_backend.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "include/packet_flow.h"
#include "include/uapi/gpon_flow.h"
#include "platform/api/platform_hook.h"
#include "tool/live/active_filter.h"
#include "tool/live/event_frames.h"
#include "tool/live/event_stream.h"
#include "tool/live/kernel_log.h"
#include "tool/live/kernel_reader.h"
#include "tool/live/module_file.h"
#include "tool/live/soft_onu.h"
#include "tool/live/trace_clock.h"

namespace gponflow {

namespace {

constexpr const char* device_file = "/dev/gpon_flow";
constexpr const char* proc_file = "/proc/gpon_flow/debug";

// The clock of trace events can be read in any context, and may differ a little from that of a
// process.
constexpr uint64_t clock_difference = 1'000'000;

long result_of(long result)
{
    return result < 0 ? -errno : result;
}

// A small system has no udev: create the node if the kernel has the device.
descriptor open_device()
{
    descriptor found(open(device_file, O_RDWR | O_CLOEXEC));
    if (!found && errno == ENOENT && is_module_loaded() &&
        mknod(device_file, S_IFCHR | 0600, makedev(GPON_FLOW_MAJOR, 0)) == 0)
        return descriptor(open(device_file, O_RDWR | O_CLOEXEC));
    return found;
}

class device_backend final : public backend {
public:
    void set_sink(backend_sink sink) override { sink_ = std::move(sink); }

    std::optional<int> load() override
    {
        if (is_module_loaded())
            throw refusal("the module is already loaded");
        platform().set_mapping({.result = 0});
        platform().set_queue_mapping({.result = 0});
        return after_draining(load_module());
    }

    void unload() override
    {
        if (!is_module_loaded())
            throw refusal("the module is not loaded");
        stream_.reset();
        if (const int failure = after_draining(unload_module()))
            throw refusal(std::string("cannot unload the module: ") + std::strerror(-failure));
    }

    std::optional<hook_return> hook(const packet_options& options, const bytes* frame) override
    {
        return after_draining(platform().hook(options, frame));
    }

    traced_call traced_hook(const packet_options& options, const bytes& frame) override
    {
        if (!is_module_loaded())
            return {hook(options, &frame), {}};
        const auto active = active_filter::open(*this, filter_of(frame));
        event_stream& events = stream();
        events.skip();
        const uint64_t dropped = events.dropped();
        traced_call call;
        call.returned = hook(options, &frame);
        read_frame(options.kind, trace_clock_now() + clock_difference, call);
        call.lost = events.dropped() != dropped;
        call.unseen = is_unseen(options.kind, call);
        return call;
    }

    std::optional<long> ioctl(uint32_t number, uint64_t argument) override
    {
        const descriptor device = open_device();
        if (!device)
            return absent_or_refused(device_file);
        return after_draining(result_of(::ioctl(device.get(), number, argument)));
    }

    std::optional<long> proc_write(std::string_view text) override
    {
        const descriptor entry(open(proc_file, O_WRONLY | O_CLOEXEC));
        if (!entry)
            return absent_or_refused(proc_file);
        return after_draining(result_of(write(entry.get(), text.data(), text.size())));
    }

    std::optional<long> proc_read() override
    {
        const descriptor entry(open(proc_file, O_RDONLY | O_CLOEXEC));
        if (!entry)
            return absent_or_refused(proc_file);
        char text[64];
        return after_draining(result_of(read(entry.get(), text, sizeof(text))));
    }

    uint64_t advance(uint64_t) override
    {
        throw refusal("'advance' requires --backend=host: the time of a kernel cannot be set");
    }

    void set_mapping(const pointer_setting& setting) override { platform().set_mapping(setting); }

    void set_queue_mapping(const pointer_setting& setting) override
    {
        platform().set_queue_mapping(setting);
    }

    void arm_fault(fault_kind, uint64_t) override
    {
        throw refusal(
            "'fault' requires --backend=host: the services of a kernel do not fail on request");
    }

private:
    // Passes on the log of the call before its result.
    template <typename T> T after_draining(T returned)
    {
        const bool lost = log_.drain([this](std::string_view line) {
            if (!sink_)
                return;
            if (const auto call = reported_call(line))
                sink_({backend_event::kind::call, *call});
            else
                sink_({backend_event::kind::log, std::string(line) + '\n'});
        });
        if (lost && sink_)
            sink_({backend_event::kind::lost,
                   "kernel log lines were lost: boot with a larger log_buf_len"});
        return returned;
    }

    static std::optional<long> absent_or_refused(const char* file)
    {
        if (errno == ENOENT || errno == ENXIO || errno == ENODEV)
            return {};
        throw refusal(std::string("cannot open ") + file + ": " + std::strerror(errno));
    }

    // The frame is the last one of its direction; others have passed before the hook call returned
    // at this time, or in the difference of the clocks after it; then two frames are found.
    void read_frame(uint32_t kind, uint64_t returned, traced_call& call)
    {
        constexpr std::array<uint16_t, 4> directions = {UP_UNI, UP_ANI, DOWN_UNI, DOWN_ANI};
        size_t frames = 0;
        event_frames sorted([&](const frame_events& one) {
            if (kind >= directions.size() ||
                one.events.front().frame.direction != directions.at(kind))
                return;
            ++frames;
            call.events = one.events;
        });
        stream_->read_until(returned, [&](const event_source::event& one) {
            sorted.event(one.record, one.cpu, one.gap);
            return true;
        });
        sorted.finish();
        call.others = frames > 1;
    }

    // A frame without an event found the engine disabled, or its events are lost. A frame that
    // fails always has an event.
    static bool is_unseen(uint32_t kind, const traced_call& call)
    {
        if (!call.events.empty() || !call.returned || kind > GPON_API_DOWN_ANI)
            return false;
        return call.returned->api_result != 0 || make_kernel_reader()->state().enabled;
    }

    // Unloading the module takes its events away, in this process or in another one.
    event_stream& stream()
    {
        if (!stream_ || !stream_->is_of_loaded_module()) {
            stream_.reset(); // its buffer has the name of the new one
            stream_ = event_stream::open({.learning = true});
        }
        return *stream_;
    }

    // Only calls of the platform need the soft ONU. The other entry points exist without
    // it.
    soft_onu& platform()
    {
        if (!platform_)
            platform_.emplace(soft_onu::open());
        return *platform_;
    }

    std::optional<soft_onu> platform_;
    std::unique_ptr<event_stream> stream_; ///< of the loaded module; null until a call needs it
    kernel_log log_ = kernel_log::open();
    backend_sink sink_;
};

} // namespace

std::unique_ptr<backend> make_device_backend()
{
    return std::make_unique<device_backend>();
}

} // namespace gponflow
