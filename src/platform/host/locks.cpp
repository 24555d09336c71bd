// SPDX-License-Identifier: GPL-2.0-only
#include <mutex>

#include "platform/host/context.h"
#include "platform/host/host.h"
#include "platform/host/spin.h"

#include "platform/api/kernel_api.h"

struct spinlock {
    gpon::host::spin inner;
};

struct mutex {
    std::mutex inner;
};

constinit spinlock gpon_hash_lock;
constinit mutex gpon_flow_control_mutex;

using namespace gpon::host;

void spin_lock_init(spinlock* lock)
{
    if (!lock->inner.try_lock())
        fatal("spin_lock_init of a lock that is held");
    lock->inner.unlock();
}

GPON_NO_LOCK_ANALYSIS void spin_lock_bh(spinlock* lock)
{
    if (this_thread.spinlock)
        fatal("spin_lock_bh by a thread that holds a spinlock already");
    if (void (*const before)() = this_thread.before_lock) [[unlikely]] {
        this_thread.before_lock = nullptr;
        before();
    }
    lock->inner.lock();
    this_thread.spinlock = lock;
}

GPON_NO_LOCK_ANALYSIS void spin_unlock_bh(spinlock* lock)
{
    if (this_thread.spinlock != lock)
        fatal("spin_unlock_bh of a lock that this thread does not hold");
    this_thread.spinlock = nullptr;
    lock->inner.unlock();
}

void gpon::host::call_before_next_lock(void (*function)())
{
    this_thread.before_lock = function;
}

GPON_NO_LOCK_ANALYSIS void mutex_lock(mutex* lock)
{
    assert_may_sleep("mutex_lock");
    if (this_thread.mutex)
        fatal("mutex_lock by a thread that holds a mutex already");
    lock->inner.lock();
    this_thread.mutex = lock;
}

GPON_NO_LOCK_ANALYSIS void mutex_unlock(mutex* lock)
{
    if (this_thread.mutex != lock)
        fatal("mutex_unlock of a mutex that this thread does not hold");
    this_thread.mutex = nullptr;
    lock->inner.unlock();
}
