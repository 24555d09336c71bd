/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * A spinlock with the cost of a kernel's spinlock: one atomic exchange to lock, a plain store to
 * unlock. Unlike in a kernel, a thread may be preempted while it holds the lock; a thread that
 * waits long therefore yields the CPU.
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

    [[nodiscard]] bool try_lock() { return !held_.exchange(true, std::memory_order_acquire); }

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
