/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The module in a process: the interface of the host platform for the command line tool, tests,
 * fuzzers and benchmarks. A process has one platform and one module, like a kernel.
 *
 * The entry points (hook, ioctl, proc_*) may be called from several threads; the first call of a
 * thread registers it with liburcu. All other functions are for one controlling thread while no
 * entry point is in use.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/api/observe.h"
#include "platform/api/platform_hook.h"
#include "platform/api/tracepoint.h"

/* The platform's packet. Frame bytes belong to the caller and are valid during the call. */
struct sk_buff {
    uint32_t flag_word = 0; // bit 20: trace mark; low bits: log levels
    uint32_t port_word = 0; // UNI port number in bits 4 to 7
    uint32_t mark_word = 0;
    uint16_t gemport_id = 0;
    uint16_t multicast = 0;
    const uint8_t* data = nullptr;
    uint32_t bytes = 0;
    uint32_t mac_offset = 0; // of the MAC header from data; the frame proper starts at data
};

namespace gpon::host {

/* An action of the module; events are in the order of the actions. */
struct event {
    enum kind { log, call } type;
    std::string text; // log: one print, unchanged; call: the platform call as one line
};
using event_sink = std::function<void(const event&)>;

/* Resets the platform: no module (an earlier one is dropped with all its allocations), jiffies 0,
 * both mapping functions set and returning 0, no fault armed. The sink stays. */
void reset();

/* The sink receives every event; null disables recording and skips the formatting. Calls to the
 * sink are serialised. */
void set_sink(event_sink sink);

/* Loads and unloads the module. load returns the value of init_module, or no value after a panic;
 * after a panic only reset() may follow. */
[[nodiscard]] std::optional<int> load();
void unload();
[[nodiscard]] bool is_loaded(); // true also after a failed load, until unload()

/* Entry points; they return no value if the device or file does not exist. */
struct hook_return {
    int ret;
    int api_result;
};
std::optional<hook_return> hook(uint32_t api_type, uint32_t api_param, sk_buff* packet);
std::optional<long> ioctl(uint32_t command, uint64_t argument);
std::optional<long> proc_write(std::string_view text);
std::optional<long> proc_read();

/* Time. advance lets jiffies pass; timers fire at their own time during the call. */
[[nodiscard]] uint64_t jiffies();
void advance(uint64_t count);

/* The platform's two function pointers: no value sets a null pointer, a value is returned by the
 * function. */
void set_mapping(std::optional<int> result);
void set_queue_mapping(std::optional<int> result);

/* The next call of a service (the nth from now for alloc and copy) fails once. */
enum class fault { chrdev, proc_dir, proc_entry, hook, alloc, copy };
void arm_fault(fault service, uint64_t nth = 1);
void disarm_faults();
[[nodiscard]] bool fault_fired(fault service); // since it was armed

/* The nth allocation from now on calls the function first, and does not fail. It takes the place of
 * an armed allocation fault. A test can so place the work of another CPU into a walk or a replay.
 */
void call_at_allocation(uint64_t nth, void (*function)());

/* Each copy from user space takes this time, like a copy that waits for a page. reset() does not
 * change it. */
void set_copy_delay(uint32_t microseconds);

/* Allocation balance of the module: blocks not yet freed (call rcu_settle first), their bytes, and
 * the number of all allocations so far. */
struct memory_use {
    uint64_t live_blocks;
    uint64_t live_bytes;
    uint64_t allocations;
    uint64_t allocated_bytes;
};
[[nodiscard]] memory_use memory();

/* This thread calls the function once, before it takes gpon_hash_lock the next time. A test can so
 * place the work of another CPU between a check without the lock and the check under it. */
void call_before_next_lock(void (*function)());

/* Receives the changes that the module reports to listeners; null ends that. Calls may come from
 * any thread, under the lock of the rule table. */
void set_observer(std::function<void(const gpon_event&)> observer);

/* Receives every trace event of the module; null ends that. Calls may come from any thread, under
 * the lock of the rule table; the record and its text are valid during the call. */
void set_tracer(std::function<void(const gpon_trace_record&)> tracer);

/* The module's counters since load, in the order of include/counters.def; reset() clears them.
 * counter_value throws std::invalid_argument for an unknown name. */
struct counter {
    std::string_view name;
    std::string_view meaning;
    uint64_t value;
};
[[nodiscard]] std::vector<counter> counters();
[[nodiscard]] uint64_t counter_value(std::string_view name);

/* If off, every frame replays its rule, and no remembered outcome is used. On at the start; reset()
 * does not change it. */
void set_remembered_outcomes(bool on);

/* Waits until every deferred free has run. */
void rcu_settle();

/* When deferred frees run (rcu_settle and unload always run them): in the background as soon as
 * possible (the default), in the background after a random time of up to that many microseconds, or
 * not at all. reset() does not change it. */
enum class grace { prompt, delayed, on_demand };
void set_grace(grace mode, uint32_t microseconds = 0);

} // namespace gpon::host
