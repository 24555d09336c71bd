// SPDX-License-Identifier: GPL-2.0-only
/*
 * User memory is the memory of the process, at any address: the kernel makes the copy and reports
 * an unreadable address, where a plain load would end the process.
 */
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "platform/host/context.h"
#include "platform/host/faults.h"
#include "platform/host/host.h"

#include "platform/api/kernel_api.h"

using namespace gpon::host;

namespace {

constinit std::atomic<uint32_t> copy_delay = 0;

size_t copy_readable(void* to, const void* from, size_t bytes)
{
    size_t copied = 0;
    while (copied < bytes) {
        const iovec local = {static_cast<char*>(to) + copied, bytes - copied};
        const auto address = reinterpret_cast<uintptr_t>(from) + copied;
        const iovec remote = {reinterpret_cast<void*>(address), bytes - copied};
        const ssize_t some = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
        if (some < 0 && (errno == EPERM || errno == ENOSYS))
            fatal("process_vm_readv, which plays copy_from_user, is not allowed here");
        if (some <= 0)
            break;
        copied += static_cast<size_t>(some);
    }
    return copied;
}

} // namespace

void gpon::host::set_copy_delay(uint32_t microseconds)
{
    copy_delay.store(microseconds, std::memory_order_relaxed);
}

unsigned long copy_from_user(void* to, const void* user_from, unsigned long bytes)
{
    assert_may_sleep("copy_from_user");
    if (const uint32_t delay = copy_delay.load(std::memory_order_relaxed))
        usleep(delay);
    const size_t copied = take_fault(fault::copy) ? 0 : copy_readable(to, user_from, bytes);
    // As in the kernel, the part that could not be copied is cleared.
    std::memset(static_cast<char*>(to) + copied, 0, bytes - copied);
    return bytes - copied;
}
