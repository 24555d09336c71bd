// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <memory>

#include "tool/scenario/backend.h"

namespace gponflow {

/// The module in this process, fresh: nothing loaded, jiffies 0. One at a time.
[[nodiscard]] std::unique_ptr<backend> make_host_backend();

} // namespace gponflow
