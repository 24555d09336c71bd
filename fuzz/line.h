// SPDX-License-Identifier: GPL-2.0-only
// The module under a fuzzer: loaded, driven by commands, and held to its invariants.
#pragma once

#include <memory>
#include <string>

#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"

namespace gponflow::fuzz {

/// Ends the process, which the fuzzer takes for a finding, unless the promise holds.
void require(bool holds, const char* promise);

/// One at a time, as there is one module in a process.
class line {
public:
    /// A fresh platform with the module loaded.
    explicit line(bool listening);

    /// With it everything that the module prints is formatted, and thrown away.
    void listen(bool listening);

    /// Unloads; nothing may stay allocated.
    ~line();
    line(const line&) = delete;
    line& operator=(const line&) = delete;

    /// Does what the command asks for, unless it is out of place. False once nothing more can be
    /// done: the module panicked while loading.
    bool execute(const any_command& what);

    /// Runs the commands of a scenario file up to its first packet.
    void provision(const std::string& file);

    /// The invariants of the store and the rule table.
    void check();

    /// The same for what the command can have changed: packets and time leave the store alone.
    void check_after(const any_command& what);

private:
    bool run(const load_command&);
    bool run(const unload_command&);
    bool run(const hook_command& what);
    bool run(const me_command& what);
    bool run(const config_command& what);
    bool run(const debug_command& what);
    bool run(const clean_command& what);
    bool run(const ioctl_command& what);
    bool run(const proc_write_command& what);
    bool run(const proc_read_command&);
    bool run(const advance_command& what);
    bool run(const platform_command& what);
    bool run(const fault_command& what);
    template <typename Other> bool run(const Other&) { return true; }

    std::unique_ptr<backend> module_;
    uint64_t store_blocks_ = 0; // found by the last look at everything
};

} // namespace gponflow::fuzz
