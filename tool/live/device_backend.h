// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <memory>

#include "tool/scenario/backend.h"

namespace gponflow {

/// The module in the running kernel, through its device, proc entry and log. Throws refusal when
/// this machine or this build cannot do that.
[[nodiscard]] std::unique_ptr<backend> make_device_backend();

} // namespace gponflow
