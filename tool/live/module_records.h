// SPDX-License-Identifier: GPL-2.0-only
// Counters, rules, instances and changes of the module as records of the tool.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/api/observe.h"
#include "tool/live/instances.h"
#include "tool/live/rule_table.h"

namespace gponflow {

struct counter_value {
    std::string name;
    std::string meaning;
    uint64_t value = 0;
};

/// A rule and its use.
struct seen_rule {
    dumped_rule rule;
    uint64_t hits = 0; ///< frames that used it after the first one
    uint64_t idle = 0; ///< since the last use: milliseconds in a kernel, jiffies in this process
    std::optional<uint16_t> gem_port; ///< of the remembered outcome
};

/// The tool's form of the module's record. idle is copied.
[[nodiscard]] seen_rule rule_of(const gpon_seen_rule& seen);

/// The same for an instance. An unknown class has no attributes.
[[nodiscard]] dumped_instance instance_of(const gpon_seen_instance& seen);

struct engine_state {
    bool enabled = false;
    unsigned rules = 0;
    unsigned buckets = 0;
    unsigned threshold = 0;        ///< rules at which the table grows
    std::optional<uint64_t> store; ///< changes with each change of instances; nothing if unknown
};

/// A change of the rule table or of the store.
struct module_change {
    enum class subject { rule, instance, table } about = subject::rule;
    std::string
        change; ///< learnt, relearnt, aged, flushed, deleted, lost; created, set, linked; grown
    uint32_t number = 0; ///< the next change has the next number
    seen_rule rule;
    me_id instance;
    unsigned buckets = 0;
};

/// The tool's form of an event.
[[nodiscard]] module_change change_of(const gpon_event& event, uint32_t number);

using change_sink = std::function<void(const module_change&)>;

} // namespace gponflow
