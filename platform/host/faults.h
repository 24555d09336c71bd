/* SPDX-License-Identifier: GPL-2.0-only */
#pragma once

#include "platform/host/host.h"

namespace gpon::host {

/* Called once for every call of a service: true when this is the call that was armed to fail. */
bool take_fault(fault what);

} // namespace gpon::host
