// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "include/me_class_id.h"

namespace gponflow {

/// Findings that are not to be shown: those of a rule, at all instances, at those of one class, or
/// at one instance.
struct silence {
    std::string rule;
    std::optional<me_class> class_id;
    std::optional<uint16_t> instance; ///< only with a class
};

} // namespace gponflow
