// SPDX-License-Identifier: GPL-2.0-only
// Interface to the module under a scenario: in this process, or loaded in a kernel.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/api/tracepoint.h"
#include "tool/scenario/command.h"

namespace gponflow {

/// Thrown for an operation that a backend does not support. The text is the reason, for the user.
struct refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// An event while a command ran.
struct backend_event {
    enum class kind {
        log,  ///< a piece of kernel log text with its line feeds
        call, ///< a platform call that the module made, one line without the "@ "
        lost  ///< log text was lost; the text is the reason
    } type;
    std::string_view text; ///< valid during the call of the sink
};
using backend_sink = std::function<void(const backend_event&)>;

struct hook_return {
    int ret = 0;
    int api_result = 0;
    uint16_t gem = 0;   ///< of the packet, as the call left it
    uint32_t flags = 0; ///< the same, the flag word
};

/// A hook call with the trace events of its frame, in their order. Addresses in the events are only
/// for comparison.
struct traced_call {
    std::optional<hook_return> returned;
    std::vector<gpon_trace_record> events;
    bool lost = false;   ///< the kernel dropped events
    bool unseen = false; ///< no event of the frame arrived, though the module classified it
    bool others = false; ///< other frames with the same addresses and tags came at the same time
};

/// Where the rule table has the rule of a frame.
struct rule_place {
    enum rule_state {
        stored, ///< the frame replays it
        taken,  ///< there is none, and the table would drop a new one without any other effect
        open    ///< there is none, and a new one changes the table
    } state = open;
    std::string steps; ///< of a stored rule: they are equal if the rules have the same steps
};

/// The entry points of the module and the platform below it. One thread at a time. Events of a
/// call reach the sink before the call returns. Every function may throw refusal.
///
/// A call returns nothing when its entry point is missing (no hook registered, no character device,
/// no proc entry). User memory is the memory of this process: an ioctl argument is an address here.
class backend {
public:
    virtual ~backend() = default;
    backend() = default;
    backend(const backend&) = delete;
    backend& operator=(const backend&) = delete;

    /// Receives the events of the following calls; null removes the sink.
    virtual void set_sink(backend_sink sink) = 0;

    /// init_module; nothing when it panicked. Refuses when the module is loaded.
    [[nodiscard]] virtual std::optional<int> load() = 0;
    /// cleanup_module. Refuses when the module is not loaded.
    virtual void unload() = 0;

    /// One hook call; without frame the packet pointer is null.
    [[nodiscard]] virtual std::optional<hook_return> hook(const packet_options& options,
                                                          const bytes* frame) = 0;
    /// The same with its trace events. A frame with a rule has an event for each step of it, also
    /// if its outcome is remembered.
    [[nodiscard]] virtual traced_call traced_hook(const packet_options& options,
                                                  const bytes& frame) = 0;
    /// What a hook call would find; marks a stored rule as used, as the call does. Nothing if the
    /// backend cannot look into the table, or if the call would not use it.
    [[nodiscard]] virtual std::optional<rule_place> find_rule(const packet_options&, const bytes&)
    {
        return {};
    }
    [[nodiscard]] virtual std::optional<long> ioctl(uint32_t number, uint64_t argument) = 0;
    [[nodiscard]] virtual std::optional<long> proc_write(std::string_view text) = 0;
    [[nodiscard]] virtual std::optional<long> proc_read() = 0;

    /// Lets jiffies pass and returns the time afterwards.
    virtual uint64_t advance(uint64_t jiffies) = 0;
    virtual void set_mapping(const pointer_setting& setting) = 0;
    virtual void set_queue_mapping(const pointer_setting& setting) = 0;
    /// Receives the trace events of all following calls; null ends it. A record is valid during the
    /// call of the sink. The module in a kernel has its events in tracefs.
    virtual void set_event_sink(std::function<void(const gpon_trace_record&)>)
    {
        throw refusal("only the module in this process passes on its trace events; those of a "
                      "kernel are in tracefs");
    }
    /// The nth call of the service from now on fails once.
    virtual void arm_fault(fault_kind service, uint64_t nth) = 0;
};

} // namespace gponflow
