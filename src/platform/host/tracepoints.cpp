// SPDX-License-Identifier: GPL-2.0-only
/* The trace events of the module, for one reader. */
#include <mutex>
#include <utility>

#include "platform/host/host.h"

#include "base/atomics.h"
#include "platform/api/kernel_api.h"

namespace {

std::mutex reader_lock;
std::function<void(const gpon_trace_record&)> reader;

} // namespace

unsigned int tracepoints_on = 0;

void gpon::host::set_tracer(std::function<void(const gpon_trace_record&)> next)
{
    const std::lock_guard held(reader_lock);
    reader = std::move(next);
    store_relaxed(tracepoints_on, reader ? (1u << GPON_TRACEPOINTS) - 1 : 0u);
}

void hit_tracepoint(const gpon_trace_record* record)
{
    const std::lock_guard held(reader_lock);
    if (reader)
        reader(*record);
}
