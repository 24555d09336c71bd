// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/host_backend.h"

#include "platform/host/host.h"
#include "tool/scenario/rule_place.h"

namespace gponflow {

namespace {

gpon::host::fault host_fault(fault_kind service)
{
    switch (service) {
    case fault_kind::chrdev:
        return gpon::host::fault::chrdev;
    case fault_kind::proc_dir:
        return gpon::host::fault::proc_dir;
    case fault_kind::proc_entry:
        return gpon::host::fault::proc_entry;
    case fault_kind::hook:
        return gpon::host::fault::hook;
    case fault_kind::alloc:
        return gpon::host::fault::alloc;
    case fault_kind::copy:
        return gpon::host::fault::copy;
    }
    throw refusal("unknown kind of fault");
}

sk_buff packet_from(const packet_options& options, const bytes& frame)
{
    sk_buff packet;
    packet.flag_word = options.flags;
    packet.port_word = options.port_word;
    packet.mark_word = options.mark_word;
    packet.gemport_id = options.gem;
    packet.multicast = options.multicast;
    packet.data = frame.data();
    packet.bytes = static_cast<uint32_t>(frame.size());
    return packet;
}

// Records events and has each rule replayed, during the lifetime of this object.
class event_recorder {
public:
    explicit event_recorder(std::vector<gpon_trace_record>& events)
    {
        gpon::host::set_remembered_outcomes(false);
        gpon::host::set_tracer([&events](const gpon_trace_record& event) {
            events.push_back(event);
            events.back().command.text = nullptr;
        });
    }
    ~event_recorder()
    {
        gpon::host::set_tracer(nullptr);
        gpon::host::set_remembered_outcomes(true);
    }
    event_recorder(const event_recorder&) = delete;
    event_recorder& operator=(const event_recorder&) = delete;
};

class host_backend final : public backend {
public:
    host_backend() { gpon::host::reset(); }

    // The platform must not keep the sink of this object.
    ~host_backend() override
    {
        gpon::host::set_sink(nullptr);
        gpon::host::set_tracer(nullptr);
        gpon::host::reset();
    }

    void set_sink(backend_sink sink) override
    {
        if (!sink)
            return gpon::host::set_sink(nullptr);
        gpon::host::set_sink([sink = std::move(sink)](const gpon::host::event& event) {
            const bool log = event.type == gpon::host::event::log;
            sink({log ? backend_event::kind::log : backend_event::kind::call, event.text});
        });
    }

    std::optional<int> load() override
    {
        if (gpon::host::is_loaded())
            throw refusal("the module is already loaded");
        return gpon::host::load();
    }

    void unload() override
    {
        if (!gpon::host::is_loaded())
            throw refusal("the module is not loaded");
        gpon::host::unload();
    }

    std::optional<hook_return> hook(const packet_options& options, const bytes* frame) override
    {
        sk_buff packet;
        if (frame)
            packet = packet_from(options, *frame);
        const auto returned =
            gpon::host::hook(options.kind, options.param, frame ? &packet : nullptr);
        if (!returned)
            return {};
        return hook_return{returned->ret, returned->api_result, packet.gemport_id,
                           packet.flag_word};
    }

    traced_call traced_hook(const packet_options& options, const bytes& frame) override
    {
        traced_call call;
        const event_recorder recorder(call.events);
        call.returned = hook(options, &frame);
        return call;
    }

    std::optional<rule_place> find_rule(const packet_options& options, const bytes& frame) override
    {
        if (!gpon::host::is_loaded())
            return {};
        return find_host_rule(options.kind, packet_from(options, frame));
    }

    std::optional<long> ioctl(uint32_t number, uint64_t argument) override
    {
        return gpon::host::ioctl(number, argument);
    }

    std::optional<long> proc_write(std::string_view text) override
    {
        return gpon::host::proc_write(text);
    }

    std::optional<long> proc_read() override { return gpon::host::proc_read(); }

    uint64_t advance(uint64_t jiffies) override
    {
        gpon::host::advance(jiffies);
        return gpon::host::jiffies();
    }

    void set_mapping(const pointer_setting& setting) override
    {
        gpon::host::set_mapping(setting.result);
    }

    void set_queue_mapping(const pointer_setting& setting) override
    {
        gpon::host::set_queue_mapping(setting.result);
    }

    void set_event_sink(std::function<void(const gpon_trace_record&)> sink) override
    {
        gpon::host::set_tracer(std::move(sink));
    }

    void arm_fault(fault_kind service, uint64_t nth) override
    {
        gpon::host::arm_fault(host_fault(service), nth);
    }
};

} // namespace

std::unique_ptr<backend> make_host_backend()
{
    return std::make_unique<host_backend>();
}

} // namespace gponflow
