// SPDX-License-Identifier: GPL-2.0-only
/*
 * RCU. Read-side sections and grace periods are those of liburcu, the queue of deferred frees is
 * not: call_rcu of liburcu delays each batch by 10 ms, and rcu_barrier, every unload and every
 * reset would wait for it. Here a thread runs the queued callbacks as soon as a grace period is
 * over, or later if a test requests it, and rcu_barrier runs them itself. Lock: batch_lock, held
 * while a batch runs.
 */
// liburcu and the platform interface both have a struct of this name; liburcu's is not used.
#define rcu_head urcu_head
#include <urcu/urcu-memb.h>
#undef rcu_head

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>

#include "platform/host/context.h"
#include "platform/host/host.h"
#include "platform/host/state.h"
#include "platform/host/tsan.h"

#include "platform/api/kernel_api.h"

namespace gpon::host {
namespace {

struct deferred_free {
    deferred_free* next;
    rcu_head* head;
    void (*free_it)(rcu_head*);
};

constinit std::atomic<deferred_free*> queue = nullptr; // newest first
constinit std::atomic<uint64_t> outstanding = 0;
constinit std::mutex batch_lock;

constinit std::atomic<grace> grace_mode = grace::prompt;
constinit std::atomic<uint32_t> longest_delay = 0; // microseconds

// Orders the end of a read-side section before the callbacks after it, for the thread sanitizer.
constinit char readers_done = 0;

void enqueue(deferred_free* call)
{
    outstanding.fetch_add(1, std::memory_order_relaxed);
    call->next = queue.load(std::memory_order_relaxed);
    while (!queue.compare_exchange_weak(call->next, call, std::memory_order_release,
                                        std::memory_order_relaxed)) {
    }
}

deferred_free* oldest_first(deferred_free* newest)
{
    deferred_free* first = nullptr;
    while (newest) {
        deferred_free* next = newest->next;
        newest->next = first;
        first = newest;
        newest = next;
    }
    return first;
}

void run_batch()
{
    const std::lock_guard held(batch_lock);
    deferred_free* batch = queue.exchange(nullptr, std::memory_order_acquire);
    if (!batch)
        return;
    urcu_memb_synchronize_rcu();
    tsan::acquire(&readers_done);
    const softirq_section softirq;
    for (deferred_free* call = oldest_first(batch); call;) {
        deferred_free* done = call;
        call = call->next;
        done->free_it(done->head);
        std::free(done);
        outstanding.fetch_sub(1, std::memory_order_relaxed);
    }
}

// Blocks signals in threads that start while an object of this type exists: a program may wait for
// signals in its own threads. Signals for faults of the thread itself are not blocked.
class signals_stay_here {
public:
    signals_stay_here()
    {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT})
            sigdelset(&all, fault);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~signals_stay_here() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    signals_stay_here(const signals_stay_here&) = delete;
    signals_stay_here& operator=(const signals_stay_here&) = delete;

private:
    sigset_t before_;
};

class worker {
public:
    worker()
    {
        const signals_stay_here guard;
        thread_ = std::thread([this] { work(); });
    }
    ~worker()
    {
        stop_.store(true, std::memory_order_relaxed);
        wake();
        thread_.join();
    }
    worker(const worker&) = delete;
    worker& operator=(const worker&) = delete;

    void wake()
    {
        rings_.fetch_add(1, std::memory_order_release);
        rings_.notify_one();
    }

private:
    // Gives a reader time to access memory that was freed too early.
    void ripen()
    {
        const uint32_t longest = longest_delay.load(std::memory_order_relaxed);
        if (grace_mode.load(std::memory_order_relaxed) == grace::delayed && longest)
            std::this_thread::sleep_for(std::chrono::microseconds(random_() % longest));
    }

    void work()
    {
        for (int heard = 0; !stop_.load(std::memory_order_relaxed);) {
            ripen();
            run_batch();
            rings_.wait(heard, std::memory_order_acquire);
            heard = rings_.load(std::memory_order_acquire);
        }
    }

    std::minstd_rand random_;
    std::atomic<int> rings_ = 0;
    std::atomic<bool> stop_ = false;
    std::thread thread_; // last: it uses the other members
};

constinit thread_local bool registered = false;

class registration {
public:
    registration()
    {
        urcu_memb_register_thread();
        registered = true;
    }
    ~registration()
    {
        registered = false;
        urcu_memb_unregister_thread();
    }
    registration(const registration&) = delete;
    registration& operator=(const registration&) = delete;
};

void register_this_thread()
{
    if (!registered) {
        thread_local const registration until_thread_ends;
    }
}

} // namespace

bool in_read_section()
{
    return urcu_memb_read_ongoing() != 0;
}

uint64_t deferred_frees()
{
    return outstanding.load(std::memory_order_relaxed);
}

void set_grace(grace mode, uint32_t microseconds)
{
    longest_delay.store(microseconds, std::memory_order_relaxed);
    grace_mode.store(mode, std::memory_order_relaxed);
}

void rcu_settle()
{
    rcu_barrier();
}

} // namespace gpon::host

using namespace gpon::host;

GPON_NO_LOCK_ANALYSIS void rcu_read_lock()
{
    register_this_thread();
    urcu_memb_read_lock();
}

GPON_NO_LOCK_ANALYSIS void rcu_read_unlock()
{
    tsan::release(&readers_done);
    urcu_memb_read_unlock();
}

void call_rcu(rcu_head* head, void (*free_it)(rcu_head*))
{
    auto* call = static_cast<deferred_free*>(std::malloc(sizeof(deferred_free)));
    if (!call)
        fatal("no memory for a deferred free");
    call->head = head;
    call->free_it = free_it;
    enqueue(call);
    if (grace_mode.load(std::memory_order_relaxed) == grace::on_demand)
        return;
    static worker background;
    background.wake();
}

void rcu_barrier()
{
    assert_may_sleep("rcu_barrier");
    run_batch();
}

void check_list_access()
{
    if (!in_read_section() && this_thread.mutex != &gpon_flow_control_mutex)
        fatal("list access outside of a read section and without the control mutex");
}

void check_list_change()
{
    if (this_thread.mutex != &gpon_flow_control_mutex)
        fatal("list change without the control mutex");
}
