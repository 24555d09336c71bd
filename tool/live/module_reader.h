// SPDX-License-Identifier: GPL-2.0-only
// The module's counters, rules and changes as records: from the running kernel by netlink, or from
// the module in this process. Reading prints nothing to the module's log.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

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
    unsigned threshold = 0; ///< rules at which the table grows
};

/// All functions throw refusal.
class module_reader {
public:
    virtual ~module_reader() = default;
    module_reader(const module_reader&) = delete;
    module_reader& operator=(const module_reader&) = delete;

    /// All counters from one snapshot, in the order of the module.
    [[nodiscard]] virtual std::vector<counter_value> counters() = 0;
    [[nodiscard]] virtual engine_state state() = 0;
    /// In the order of the table.
    [[nodiscard]] virtual std::vector<seen_rule> rules() = 0;
    /// In the order of the module's dump.
    [[nodiscard]] virtual std::vector<dumped_instance> instances() = 0;

    /// Size and rules with their use, as a table.
    [[nodiscard]] rule_table table();

protected:
    module_reader() = default;
};

/// The module of the running kernel. Requires root. Throws refusal.
[[nodiscard]] std::unique_ptr<module_reader> make_kernel_reader();

/// The module in this process.
[[nodiscard]] std::unique_ptr<module_reader> make_process_reader();

/// A change of the rule table or of the store.
struct module_change {
    enum class subject { rule, instance, table } about = subject::rule;
    std::string change;  ///< learnt, aged, flushed, deleted, lost; created, set, linked; grown
    uint32_t number = 0; ///< the next change has the next number
    seen_rule rule;
    me_id instance;
    unsigned buckets = 0;
};

/// The tool's form of an event.
[[nodiscard]] module_change change_of(const gpon_event& event, uint32_t number);

using change_sink = std::function<void(const module_change&)>;

/// The changes in the running kernel from the construction on. Requires root.
class kernel_changes {
public:
    kernel_changes(); ///< Throws refusal.
    ~kernel_changes();
    kernel_changes(const kernel_changes&) = delete;
    kernel_changes& operator=(const kernel_changes&) = delete;

    /// Passes on the changes that have arrived. Returns true if the kernel dropped some: the next
    /// number then has a gap. Throws refusal.
    bool read(const change_sink& sink);

    /// Descriptor to poll for changes.
    [[nodiscard]] int number() const;

private:
    struct connection;
    std::unique_ptr<connection> connection_;
};

/// Passes on the changes of the module in this process during its lifetime. One object at a time.
class process_changes {
public:
    explicit process_changes(change_sink sink);
    ~process_changes();
    process_changes(const process_changes&) = delete;
    process_changes& operator=(const process_changes&) = delete;
};

} // namespace gponflow
