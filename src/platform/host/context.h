/* SPDX-License-Identifier: GPL-2.0-only */
/* The kernel context of a thread (softirq, spinlock, read-side section) and the rules for it. */
#pragma once

namespace gpon::host {

struct thread_context {
    bool softirq = false;           // in the hook entry or in a timer's callback
    const void* spinlock = nullptr; // held by this thread
    const void* mutex = nullptr;
    void (*before_lock)() = nullptr; // call_before_next_lock
};
inline constinit thread_local thread_context this_thread;

/* Prints the text on standard error and ends the process, for errors that break a kernel. */
[[noreturn, gnu::format(printf, 1, 2)]] void fatal(const char* text, ...);

/* For services that need process context: fatal in softirq, under the spinlock and in an RCU
 * read-side section. */
void assert_may_sleep(const char* service);

/* Whether this thread is in an RCU read-side section. */
[[nodiscard]] bool in_read_section();

class softirq_section {
public:
    softirq_section() : before_(this_thread.softirq) { this_thread.softirq = true; }
    ~softirq_section() { this_thread.softirq = before_; }
    softirq_section(const softirq_section&) = delete;
    softirq_section& operator=(const softirq_section&) = delete;

private:
    bool before_;
};

} // namespace gpon::host
