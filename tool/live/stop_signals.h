// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <csignal>

#include "tool/live/descriptor.h"

namespace gponflow {

/// While it lives, interruption (Ctrl-C), quitting (SIGQUIT), termination and hang-up do not end
/// the process but make a descriptor readable, and a pipe that nobody reads is an error of the
/// write. One at a time.
class stop_signals {
public:
    stop_signals();
    ~stop_signals();
    stop_signals(const stop_signals&) = delete;
    stop_signals& operator=(const stop_signals&) = delete;

    /// Waits until a signal has come, `other` is readable (unless it is -1) or the time is over;
    /// true when a signal has come, now or before.
    bool wait(int other, int milliseconds);

private:
    sigset_t before_{};
    descriptor signals_;
    bool came_ = false;
};

} // namespace gponflow
