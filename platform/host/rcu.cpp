// SPDX-License-Identifier: GPL-2.0-only
/*
 * RCU: read sections and grace periods are liburcu's, the queue of deferred frees is not. liburcu's
 * own call_rcu lets each batch ripen for 10 ms, which rcu_barrier, and with it every unload and
 * reset, would wait for. Here a thread of ours runs what is queued as soon as a grace period is
 * over, and rcu_barrier runs it itself. Lock: batch_lock, held while a batch runs.
 */
// liburcu and the seam each have a struct of this name; liburcu's is not used.
#define rcu_head urcu_head
#include <urcu/urcu-memb.h>
#undef rcu_head

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "platform/host/context.h"
#include "platform/host/host.h"
#include "platform/host/state.h"
#include "platform/host/tsan.h"
#include "platform/kernel_api.h"

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

// Ties the end of a read section to the callbacks after it, for the thread sanitizer.
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

class worker {
public:
    worker() : thread_([this] { work(); }) {}
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
    void work()
    {
        for (int heard = 0; !stop_.load(std::memory_order_relaxed);) {
            run_batch();
            rings_.wait(heard, std::memory_order_acquire);
            heard = rings_.load(std::memory_order_acquire);
        }
    }

    std::atomic<int> rings_ = 0;
    std::atomic<bool> stop_ = false;
    std::thread thread_; // last: it uses the others
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

void rcu_settle()
{
    rcu_barrier();
}

} // namespace gpon::host

using namespace gpon::host;

void rcu_read_lock()
{
    register_this_thread();
    urcu_memb_read_lock();
}

void rcu_read_unlock()
{
    tsan::release(&readers_done);
    urcu_memb_read_unlock();
}

void call_rcu(rcu_head* head, void (*free_it)(rcu_head*))
{
    static worker background;
    auto* call = static_cast<deferred_free*>(std::malloc(sizeof(deferred_free)));
    if (!call)
        fatal("no memory for a deferred free");
    call->head = head;
    call->free_it = free_it;
    enqueue(call);
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
