// SPDX-License-Identifier: GPL-2.0-only
// The reference platform's injection door.
#pragma once

#include "tool/live/descriptor.h"
#include "tool/scenario/backend.h"

namespace gponflow {

/// Hook calls and the platform's mapping functions. Every function throws refusal when the door
/// refuses.
class soft_onu {
public:
    soft_onu(); ///< Opens the door; mapping calls are told in the kernel log from then on.
    ~soft_onu();
    soft_onu(const soft_onu&) = delete;
    soft_onu& operator=(const soft_onu&) = delete;

    /// Nothing when no hook record but the platform's own is registered.
    std::optional<hook_answer> hook(const packet_options& options, const bytes* frame);
    void set_mapping(const pointer_setting& setting);
    void set_queue_mapping(const pointer_setting& setting);

private:
    void control(unsigned long request, void* argument, const char* what);

    descriptor door_;
};

/// The platform call that a line of the kernel log reports ("gpon_queue_mapping_hook gem=1 = 0"),
/// or nothing when the line is another one.
std::optional<std::string_view> reported_call(std::string_view line);

} // namespace gponflow
