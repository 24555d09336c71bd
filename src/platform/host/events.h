/* SPDX-License-Identifier: GPL-2.0-only */
/* Passes the module's actions to the sink; see event in host.h. Any context, any thread. */
#pragma once

#include <cstdarg>

#include "platform/host/host.h"

namespace gpon::host {

/* False without a sink: callers then skip the formatting. */
[[nodiscard]] bool recording();

/* Passes one event to the sink, if there is one. */
void record(event::kind type, std::string text);

/* One platform call as one line, in the kernel's formatting. */
[[gnu::format(printf, 1, 2)]] void record_call(const char* text, ...);

} // namespace gpon::host
