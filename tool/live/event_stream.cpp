// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/event_stream.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "tool/live/module_file.h"
#include "tool/live/trace_clock.h"
#include "tool/live/tracefs_library.h"
#include "tool/scenario/backend.h"
#include "tool/scenario/trace_event_text.h"

namespace gponflow {

namespace {

constexpr const char* event_system = "gpon_flow";

bool is_of_a_frame(gpon_tracepoint point)
{
    return point != GPON_TRACEPOINT_COMMAND && point != GPON_TRACEPOINT_SWEEP;
}

[[noreturn]] void refuse_operation(const std::string& operation)
{
    throw refusal(operation + ": " + std::strerror(errno));
}

void check_tracing()
{
    if (!is_module_loaded())
        throw refusal("the module is not loaded");
    if (!tracefs_tracing_dir())
        throw refusal("the trace events of the kernel cannot be read: it has no tracefs "
                      "(CONFIG_EVENT_TRACING), or you are not root");
    if (!tracefs_event_file_exists(nullptr, event_system, "gpon_walk_start", "enable"))
        throw refusal("the module has no trace events: it was built for a kernel without "
                      "CONFIG_EVENT_TRACING");
}

uint64_t field_value(const tep_format_field* field, const void* data)
{
    unsigned long long value = 0;
    if (field)
        tep_read_number_field(const_cast<tep_format_field*>(field), data, &value);
    return value;
}

template <typename T> void read_number(T& into, const tep_format_field* field, const void* data)
{
    into = static_cast<T>(field_value(field, data));
}

void read_address(unsigned char (&into)[6], const tep_format_field* field, const void* data)
{
    if (field && field->size == sizeof(into))
        std::memcpy(into, static_cast<const char*>(data) + field->offset, sizeof(into));
}

// The value after "NAME: " in the statistics of a buffer.
uint64_t statistic(const std::string& text, const std::string& name)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(name + ": "))
            return std::strtoull(line.c_str() + name.size() + 2, nullptr, 10);
    return 0;
}

} // namespace

void event_stream::format_closer::operator()(tep_handle* formats) const
{
    tep_free(formats);
}

std::unique_ptr<event_stream> event_stream::open(const options& chosen)
{
    check_tracing();
    std::unique_ptr<event_stream> stream(new event_stream(trace_buffer::create()));
    // Before the events are enabled: those of a module that is loaded later are not.
    stream->module_ = module_identity();
    const char* const systems[] = {event_system, nullptr};
    // The usual clock of a buffer cannot be compared with that of a process.
    if (tracefs_instance_file_write(stream->buffer_.get(), "trace_clock", "mono") < 0)
        refuse_operation("cannot set the clock of the trace buffer");
    stream->formats_.reset(tracefs_local_events_system(nullptr, systems));
    if (!stream->formats_)
        refuse_operation("cannot read the formats of the trace events");
    if (chosen.buffer_kilobytes != 0 &&
        tracefs_instance_file_write(stream->buffer_.get(), "buffer_size_kb",
                                    std::to_string(chosen.buffer_kilobytes).c_str()) < 0)
        refuse_operation("cannot set the size of the trace buffer");
    // The kernel would patch its scheduler to record the names of processes, which nothing needs
    // here; without this option the trace is the same. A buffer has no file for the option alone.
    tracefs_instance_file_write(stream->buffer_.get(), "trace_options", "norecord-cmd");
    for (int point = 0; point < GPON_TRACEPOINTS; ++point)
        if (is_of_a_frame(static_cast<gpon_tracepoint>(point)) &&
            (point != GPON_TRACEPOINT_RULE_LEARN || chosen.learning))
            stream->enable(static_cast<gpon_tracepoint>(point),
                           point != GPON_TRACEPOINT_RULE_LEARN);
    return stream;
}

event_stream::~event_stream() = default;

void event_stream::enable(gpon_tracepoint point, bool marked_only)
{
    find_fields(point);
    const char* name = event_name(point);
    if (marked_only &&
        tracefs_event_file_write(buffer_.get(), event_system, name, "filter", "marked==1") < 0)
        refuse_operation("cannot filter trace events");
    if (tracefs_event_enable(buffer_.get(), event_system, name) != 0)
        refuse_operation(std::string("cannot enable the trace event ") + name);
}

void event_stream::find_fields(gpon_tracepoint point)
{
    tep_event* type = tep_find_event_by_name(formats_.get(), event_system, event_name(point));
    if (!type)
        throw refusal(std::string("the module has no trace event ") + event_name(point) +
                      ": its version does not match this program");
    const auto field = [type](const char* name) { return tep_find_field(type, name); };
    fields_.at(point) = {type->id,          field("skbaddr"),    field("direction"),
                         field("marked"),   field("dst"),        field("src"),
                         field("tags"),     field("outer_tag"),  field("inner_tag"),
                         field("class_id"), field("inst_id"),    field("depth"),
                         field("status"),   field("decision"),   field("reason"),
                         field("gem_port"), field("remembered"), field("result")};
}

gpon_trace_record event_stream::record_in(gpon_tracepoint point, void* data) const
{
    const event_fields& at = fields_.at(point);
    gpon_trace_record record{};
    record.point = point;
    record.frame.packet =
        reinterpret_cast<const void*>(static_cast<uintptr_t>(field_value(at.packet, data)));
    read_number(record.frame.direction, at.direction, data);
    read_number(record.marked, at.marked, data);
    read_address(record.frame.dst_mac, at.destination, data);
    read_address(record.frame.src_mac, at.source, data);
    read_number(record.frame.tags, at.tags, data);
    read_number(record.frame.tag[0], at.outer, data);
    read_number(record.frame.tag[1], at.inner, data);
    read_number(record.step.class_id, at.class_id, data);
    read_number(record.step.inst_id, at.instance, data);
    read_number(record.step.depth, at.depth, data);
    read_number(record.step.status, at.status, data);
    read_number(record.step.decision, at.decision, data);
    read_number(record.end, at.reason, data);
    read_number(record.gemport_id, at.gem_port, data);
    read_number(record.remembered, at.remembered, data);
    read_number(record.learnt, at.result, data);
    return record;
}

namespace {

struct reading_context {
    const event_stream& stream;
    const event_stream::sink& take;
    std::exception_ptr failure;
    bool ended = false;
};

} // namespace

// The library is C: an exception must not pass through it.
int event_stream::take_record(tep_event* type, tep_record* record, int cpu, void* context)
{
    auto& of = *static_cast<reading_context*>(context);
    for (int point = 0; point < GPON_TRACEPOINTS; ++point) {
        const auto at = static_cast<gpon_tracepoint>(point);
        if (of.stream.fields_.at(at).id != type->id)
            continue;
        try {
            of.ended = !of.take({of.stream.record_in(at, record->data), cpu,
                                 record->missed_events != 0, record->ts});
        } catch (...) {
            of.failure = std::current_exception();
        }
        if (of.ended || of.failure)
            return 1;
    }
    return 0;
}

void event_stream::read(const sink& take)
{
    reading_context context{*this, take, nullptr, false};
    if (tracefs_iterate_raw_events(formats_.get(), buffer_.get(), nullptr, 0, take_record,
                                   &context) < 0 &&
        !context.failure && !context.ended)
        refuse_operation("cannot read the trace buffer");
    if (context.failure)
        std::rethrow_exception(context.failure);
}

void event_stream::skip()
{
    read_until(trace_clock_now(), [](const event&) { return true; });
}

bool event_stream::is_of_loaded_module() const
{
    return module_ && module_identity() == module_;
}

uint64_t event_stream::dropped() const
{
    uint64_t sum = 0;
    const std::unique_ptr<char, decltype(&tracefs_put_tracing_file)> folder(
        tracefs_instance_get_file(buffer_.get(), "per_cpu"), &tracefs_put_tracing_file);
    std::error_code failure;
    // The numbers of CPUs may have gaps.
    for (std::filesystem::directory_iterator cpu(folder ? folder.get() : "", failure), end;
         !failure && cpu != end; cpu.increment(failure)) {
        std::ifstream file(cpu->path() / "stats");
        std::ostringstream text;
        text << file.rdbuf();
        sum += statistic(text.str(), "overrun") + statistic(text.str(), "dropped events");
    }
    return sum;
}

} // namespace gponflow
