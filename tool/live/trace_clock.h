// SPDX-License-Identifier: GPL-2.0-only
// The clock "mono" of a trace buffer.
#pragma once

#include <cstdint>
#include <string_view>

namespace gponflow {

/// By how many nanoseconds CLOCK_MONOTONIC of a time namespace is ahead of the kernel's own one,
/// from the text of /proc/PID/timens_offsets. 0 if the text does not say it.
[[nodiscard]] int64_t monotonic_offset(std::string_view timens_offsets);

/// Time of CLOCK_MONOTONIC outside of all time namespaces, in nanoseconds.
[[nodiscard]] uint64_t trace_clock_now();

} // namespace gponflow
