// SPDX-License-Identifier: GPL-2.0-only
// A backend for tests that change some calls of the module in this process.
#pragma once

#include <memory>

#include "tool/scenario/host_backend.h"

namespace gponflow {

/// Forwards each call that a backend must have. A derived class overrides the calls that it
/// changes; the functions with a default, such as the look into the rule table, stay without the
/// module.
class forwarding_backend : public backend {
public:
    void set_sink(backend_sink sink) override { host_->set_sink(std::move(sink)); }
    std::optional<int> load() override { return host_->load(); }
    void unload() override { host_->unload(); }
    std::optional<hook_return> hook(const packet_options& options, const bytes* frame) override
    {
        return host_->hook(options, frame);
    }
    std::optional<long> ioctl(uint32_t number, uint64_t argument) override
    {
        return host_->ioctl(number, argument);
    }
    std::optional<long> proc_write(std::string_view text) override
    {
        return host_->proc_write(text);
    }
    std::optional<long> proc_read() override { return host_->proc_read(); }
    uint64_t advance(uint64_t jiffies) override { return host_->advance(jiffies); }
    void set_mapping(const pointer_setting& setting) override { host_->set_mapping(setting); }
    void set_queue_mapping(const pointer_setting& setting) override
    {
        host_->set_queue_mapping(setting);
    }
    void arm_fault(fault_kind service, uint64_t nth) override { host_->arm_fault(service, nth); }

protected:
    std::unique_ptr<backend> host_ = make_host_backend();
};

} // namespace gponflow
