// SPDX-License-Identifier: GPL-2.0-only
/*
 * RCU by liburcu. Every deferred free takes a record of its own: liburcu's list then never lies in
 * the module's memory, and the thread sanitizer can be told what a grace period orders.
 */
#include <atomic>
#include <cstdlib>

// liburcu and the seam each have a struct of this name.
#define rcu_head urcu_head
#include <urcu/urcu-memb.h>
#undef rcu_head

#include "platform/host/context.h"
#include "platform/host/host.h"
#include "platform/host/state.h"
#include "platform/host/tsan.h"
#include "platform/kernel_api.h"

namespace gpon::host {
namespace {

struct deferred_free {
    urcu_head queue;
    rcu_head* head;
    void (*free_it)(rcu_head*);
};

constinit std::atomic<uint64_t> outstanding = 0;

// Addresses to which the thread sanitizer's edges are tied: from the end of a read section to the
// callbacks after it, from a callback to those who waited for it.
[[maybe_unused]] constinit char readers_done = 0;
[[maybe_unused]] constinit char callbacks_done = 0;

void run(urcu_head* queue)
{
    auto* call = reinterpret_cast<deferred_free*>(queue);
    tsan::acquire(call);
    tsan::acquire(&readers_done);
    const deferred_free todo = *call;
    std::free(call);
    todo.free_it(todo.head);
    outstanding.fetch_sub(1, std::memory_order_relaxed);
    tsan::release(&callbacks_done);
}
static_assert(offsetof(deferred_free, queue) == 0);

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
        urcu_memb_unregister_thread();
        registered = false;
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
    register_this_thread();
    auto* call = static_cast<deferred_free*>(std::malloc(sizeof(deferred_free)));
    if (!call)
        fatal("no memory for a deferred free");
    call->head = head;
    call->free_it = free_it;
    outstanding.fetch_add(1, std::memory_order_relaxed);
    tsan::release(call);
    urcu_memb_call_rcu(&call->queue, run);
}

void rcu_barrier()
{
    assert_may_sleep("rcu_barrier");
    urcu_memb_barrier();
    tsan::acquire(&callbacks_done);
}

void check_list_access()
{
    if (!in_read_section() && this_thread.mutex != &gpon_flow_control_mutex)
        fatal("list access outside of a read section and without the control mutex");
}
