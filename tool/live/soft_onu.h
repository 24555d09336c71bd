// SPDX-License-Identifier: GPL-2.0-only
// The injection device of the soft ONU.
#pragma once

#include "tool/live/descriptor.h"
#include "tool/scenario/backend.h"

namespace gponflow {

/// Hook calls and the mapping functions of the platform. Every function throws refusal when the
/// device refuses.
class soft_onu {
public:
    /// Opens the device. Mapping calls are then reported in the kernel log.
    [[nodiscard]] static soft_onu open();
    ~soft_onu();
    soft_onu(soft_onu&&) = default;
    soft_onu& operator=(soft_onu&&) = delete;

    /// Nothing when only the hook record of the platform itself is registered.
    [[nodiscard]] std::optional<hook_return> hook(const packet_options& options,
                                                  const bytes* frame);
    void set_mapping(const pointer_setting& setting);
    void set_queue_mapping(const pointer_setting& setting);

private:
    explicit soft_onu(descriptor device) : device_(std::move(device)) {}

    void control(unsigned long request, void* argument, const char* action);

    descriptor device_;
};

/// The platform call that a line of the kernel log reports ("gpon_queue_mapping_hook gem=1 = 0"),
/// or nothing for another line.
[[nodiscard]] std::optional<std::string_view> reported_call(std::string_view line);

} // namespace gponflow
