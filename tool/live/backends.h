// SPDX-License-Identifier: GPL-2.0-only
// The backends by name.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tool/scenario/backend.h"

namespace gponflow {

/// Names that make_backend knows.
[[nodiscard]] std::vector<std::string> backend_names();

/// The backend of that name. Throws refusal.
[[nodiscard]] std::unique_ptr<backend> make_backend(std::string_view name);

} // namespace gponflow
