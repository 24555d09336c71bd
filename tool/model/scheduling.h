// SPDX-License-Identifier: GPL-2.0-only
// The priority queues and traffic schedulers of an ONU, as it reported them or the OLT set them.
// The ONU creates these instances itself, so a scenario need not contain them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

namespace gponflow {

/// The ids of upstream queues have the first bit set (ITU-T G.988 9.2.10).
[[nodiscard]] constexpr bool is_upstream_queue(uint16_t instance)
{
    return (instance & 0x8000) != 0;
}

/// Whether the OLT has assigned a T-CONT this allocID. Before, the ONU reports 0xffff or 0x00ff
/// (ITU-T G.988 9.2.2), and the module's record has 0.
[[nodiscard]] constexpr bool is_assigned_alloc_id(uint16_t alloc_id)
{
    return alloc_id != 0 && alloc_id != 0x00ff && alloc_id != 0xffff;
}

/// Priority queue (ITU-T G.988 9.2.10).
struct queue_facts {
    std::optional<uint32_t> related_port; ///< upper half T-CONT or UNI, lower half priority
    std::optional<uint16_t> scheduler;    ///< 0: none
    std::optional<uint8_t> weight;
};

/// Traffic scheduler (9.2.11).
struct scheduler_facts {
    std::optional<uint16_t> tcont;
    std::optional<uint16_t> parent; ///< another scheduler; 0: none
    std::optional<uint8_t> policy;  ///< 0 none, 1 strict priority, 2 weighted round robin
    std::optional<uint8_t> weight;  ///< or its priority
};

/// By instance.
struct scheduling {
    std::map<uint16_t, queue_facts> queues;
    std::map<uint16_t, scheduler_facts> schedulers;
    std::map<uint16_t, uint8_t> tcont_policies;
    std::map<uint16_t, uint16_t> downstream_queues; ///< of GEM port network CTPs
};

} // namespace gponflow
