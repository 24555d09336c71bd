// SPDX-License-Identifier: GPL-2.0-only
// The trace events of frames in the running kernel.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

#include "tool/live/event_source.h"
#include "tool/live/trace_buffer.h"

struct tep_event;
struct tep_format_field;
struct tep_handle;
struct tep_record;

namespace gponflow {

/// Events gpon_flow:* of frames that the module's trace filter marks, in a trace buffer of their
/// own: other tracers are neither disturbed nor seen. Requires root. All functions throw refusal.
class event_stream final : public event_source {
public:
    struct options {
        size_t buffer_kilobytes = 0; ///< for each CPU; 0: as the kernel chooses
        bool learning = false;       ///< gpon_rule_learn too, of all frames: it has no mark
    };

    /// Creates the buffer and enables the events.
    [[nodiscard]] static std::unique_ptr<event_stream> open(const options& chosen);
    ~event_stream() override; ///< Disables the events and removes the buffer.

    void read(const sink& take) override;

    /// Discards the events that have occurred before this call.
    void skip();

    /// Whether the module with the events is loaded. One that is loaded again has other events.
    /// This opens no file of an event: Linux 6.1 reads freed memory if the event of a file that is
    /// being opened goes away at the same time.
    [[nodiscard]] bool is_of_loaded_module() const;

    /// Since open(), because the buffer was full.
    [[nodiscard]] uint64_t dropped() const override;

private:
    /// Where an event has its fields; null for a field that it does not have.
    struct event_fields {
        int id = -1;
        tep_format_field* packet = nullptr;
        tep_format_field* direction = nullptr;
        tep_format_field* marked = nullptr;
        tep_format_field* destination = nullptr;
        tep_format_field* source = nullptr;
        tep_format_field* tags = nullptr;
        tep_format_field* outer = nullptr;
        tep_format_field* inner = nullptr;
        tep_format_field* class_id = nullptr;
        tep_format_field* instance = nullptr;
        tep_format_field* depth = nullptr;
        tep_format_field* status = nullptr;
        tep_format_field* decision = nullptr;
        tep_format_field* reason = nullptr;
        tep_format_field* gem_port = nullptr;
        tep_format_field* remembered = nullptr;
        tep_format_field* result = nullptr;
    };
    struct format_closer {
        void operator()(tep_handle* formats) const;
    };

    explicit event_stream(trace_buffer buffer) : buffer_(std::move(buffer)) {}
    void enable(gpon_tracepoint point, bool marked_only);
    void find_fields(gpon_tracepoint point);
    [[nodiscard]] gpon_trace_record record_in(gpon_tracepoint point, void* data) const;
    static int take_record(tep_event* type, tep_record* record, int cpu, void* context);

    std::unique_ptr<tep_handle, format_closer> formats_;
    std::optional<ino_t> module_; // that of the events
    trace_buffer buffer_;
    std::array<event_fields, GPON_TRACEPOINTS> fields_;
};

} // namespace gponflow
