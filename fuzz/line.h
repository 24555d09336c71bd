// SPDX-License-Identifier: GPL-2.0-only
// The module under a fuzzer: loads it, runs commands and checks its invariants.
#pragma once

#include <memory>
#include <string>

#include "tests/support/require.h"
#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"

namespace gponflow::fuzz {

using test::require;

/// Only one object at a time: a process has one module.
class line {
public:
    /// Resets the platform and loads the module.
    explicit line(bool listening);

    /// If set, all output of the module is formatted and discarded.
    void listen(bool listening);

    /// Unloads the module; no memory may stay allocated.
    ~line();
    line(const line&) = delete;
    line& operator=(const line&) = delete;

    /// Runs the command if it is possible in the current state. Returns false after the module
    /// panicked during load.
    bool execute(const any_command& step);

    /// Runs the commands of a scenario file up to its first packet.
    void provision(const std::string& file);

    /// Checks the invariants of the store and the rule table.
    void check();

    /// The same for the data that the command can change: packets and time do not change the store.
    void check_after(const any_command& step);

private:
    bool run(const load_command&);
    bool run(const unload_command&);
    bool run(const hook_command& call);
    bool run(const me_command& command);
    bool run(const config_command& command);
    bool run(const debug_command& command);
    bool run(const clean_command& command);
    bool run(const ioctl_command& command);
    bool run(const proc_write_command& command);
    bool run(const proc_read_command&);
    bool run(const advance_command& command);
    bool run(const platform_command& command);
    bool run(const fault_command& command);
    template <typename Other> bool run(const Other&) { return true; }

    std::unique_ptr<backend> module_;
    uint64_t store_blocks_ = 0; // counted by the last complete check
};

} // namespace gponflow::fuzz
