/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * A spinlock that costs what a kernel's costs: one atomic exchange to take it, a plain store to
 * give it back. A thread may be put aside while it holds one, which a kernel prevents; whoever
 * waits long therefore gives the CPU away.
 */
#pragma once

#include <sched.h>

#include <atomic>

namespace gpon::host {

class spin {
public:
    constexpr spin() = default;
    spin(const spin&) = delete;
    spin& operator=(const spin&) = delete;

    bool try_lock() { return !held_.exchange(true, std::memory_order_acquire); }

    void lock()
    {
        if (!try_lock()) [[unlikely]]
            wait();
    }

    void unlock() { held_.store(false, std::memory_order_release); }

private:
    void wait()
    {
        constexpr int patience = 100;
        for (int tries = 0; !try_lock(); ++tries)
            if (tries >= patience)
                sched_yield();
    }

    std::atomic<bool> held_ = false;
};

} // namespace gpon::host
