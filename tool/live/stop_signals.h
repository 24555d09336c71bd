// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <csignal>
#include <pthread.h>
#include <thread>

#include "tool/live/descriptor.h"

namespace gponflow {

/// During the lifetime of this object, SIGINT, SIGQUIT, SIGTERM and SIGHUP do not end the process
/// but make a descriptor readable, and a closed pipe is an error of the write. A write that blocks
/// when a signal arrives, or later, is interrupted and fails. One object at a time, which the main
/// thread creates and destroys.
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
    void interrupt_writes() const;

    sigset_t before_{};
    struct sigaction interruption_before_ {};
    pthread_t writer_ = pthread_self();
    descriptor ended_; ///< eventfd: readable when this object ends
    descriptor signals_;
    bool came_ = false;
    std::thread interrupter_;
};

} // namespace gponflow
