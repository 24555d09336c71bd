// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <csignal>

#include "tool/live/descriptor.h"

namespace gponflow {

/// During the lifetime of this object, SIGINT, SIGQUIT, SIGTERM and SIGHUP do not end the process
/// but make a descriptor readable, and a closed pipe is an error of the write. One object at a
/// time.
class stop_signals {
public:
    stop_signals();
    ~stop_signals();
    stop_signals(const stop_signals&) = delete;
    stop_signals& operator=(const stop_signals&) = delete;

    /// Waits for a signal, for `other` to be readable (unless it is -1) or for the timeout. Returns
    /// true if a signal has arrived, now or earlier.
    [[nodiscard]] bool wait(int other, int milliseconds);

private:
    sigset_t before_{};
    descriptor signals_;
    bool came_ = false;
};

} // namespace gponflow
