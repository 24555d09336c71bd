// SPDX-License-Identifier: GPL-2.0-only
// Titles of classes: a list of classes that are not mirrored is readable without the standard.
#pragma once

#include <cstdint>
#include <string>

#include "include/me_class_id.h"

namespace gponflow::omci {

/// "MAC bridge service profile", also for common classes that are not mirrored; "class 999" for
/// the others.
[[nodiscard]] std::string class_title(me_class id);

} // namespace gponflow::omci
