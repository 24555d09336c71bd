/* SPDX-License-Identifier: GPL-2.0-only */
/* Where a thread is, as a kernel sees it, and the rules that follow from that. */
#pragma once

namespace gpon::host {

struct thread_context {
    bool softirq = false;           // in the hook entry or in a timer's callback
    const void* spinlock = nullptr; // held by this thread
    const void* mutex = nullptr;
};
inline constinit thread_local thread_context this_thread;

/* Ends the process with the text on standard error: the module did what breaks a kernel. */
[[noreturn, gnu::format(printf, 1, 2)]] void fatal(const char* text, ...);

/* For services that only process context may call: fatal in softirq, under the spinlock and in an
 * RCU read section. */
void assert_may_sleep(const char* service);

/* Is this thread in an RCU read section? */
bool in_read_section();

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
